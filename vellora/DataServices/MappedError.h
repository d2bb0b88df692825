#pragma once

#include <new>
#include <string>
#include <string_view>

#include "vellora/Host/Logger.h"
#include "vellora/Platform/Values/Error.h"

namespace vellora {

/// `error` as an `E`: itself when it is one, else `E::other` carrying it. Logged first, under the name of the
/// type, when there is a logger.
template <class E>
[[nodiscard]] E mappedError(const Error& error, std::string_view typeName, CorvaneSDK::Logger* logger) {
  try {
    if (logger) {
      logger->log(
          std::string("VelloraService: ").append(typeName).append(": ").append(error.localizedDescription()),
          CorvaneSDK::LogLevel::error);
    }
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the error counts, not its line
  }
  if (const auto* own = error.as<E>()) return *own;
  return E::other(error);
}

}  // namespace vellora
