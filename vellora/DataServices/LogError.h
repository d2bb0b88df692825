#pragma once

#include <new>
#include <string>
#include <string_view>

#include "vellora/Host/Logger.h"
#include "vellora/Platform/Values/Error.h"

namespace vellora {

/// Logs `operation`, `failure` and the error's localized description as one line, at error level. Without
/// the memory for the line it logs nothing: the failure itself matters more.
template <ErrorValue E>
void logError(CorvaneSDK::Logger& logger, std::string_view operation, std::string_view failure,
              const E& error) {
  try {
    logger.log(std::string(operation).append(failure).append(error.localizedDescription()),
               CorvaneSDK::LogLevel::error);
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the failure counts, not its line
  }
}

}  // namespace vellora
