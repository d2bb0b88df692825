#pragma once

#include <map>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "vellora/DataServices/LogError.h"
#include "vellora/DataServices/SObjectsDataServiceError.h"
#include "vellora/Host/Logger.h"

namespace vellora {

/// The layouts by their own object types; of two of one type the later one stands.
template <class Info>
[[nodiscard]] std::map<std::string, Info> byObjectType(std::vector<Info> infos) {
  std::map<std::string, Info> byType;
  for (auto& info : infos) {
    std::string type = info.objectType;
    // Names often come in order, and then belong at the end.
    byType.insert_or_assign(byType.end(), std::move(type), std::move(info));
  }
  return byType;
}

/// Turns a layout service's answer into what the lookup's caller gets: a list into a dictionary, whatever
/// error came with it, since the list holds what there is. No list is no dictionary; the error, if one came,
/// is logged. Without the memory for a dictionary there is none either.
template <class Info>
[[nodiscard]] std::optional<std::map<std::string, Info>> layoutAnswer(
    std::optional<std::vector<Info>> infos, const std::optional<SObjectsDataServiceError>& error,
    CorvaneSDK::Logger& logger) {
  if (!infos) {
    if (error) logError(logger, "error", ": ", *error);
    return std::nullopt;
  }
  try {
    return byObjectType(*std::move(infos));
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

}  // namespace vellora
