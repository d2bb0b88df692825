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

/// What a layout lookup's caller gets of a layout service's answer: the dictionary; nothing when there was no
/// list, after the error, if one came, has been logged. An error beside a list is of no interest: the list
/// holds what there is. Nothing as well when there is no memory for the dictionary.
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
