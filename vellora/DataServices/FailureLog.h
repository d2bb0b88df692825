#pragma once

#include <memory>
#include <string_view>

#include "vellora/DataServices/LogError.h"
#include "vellora/DataServices/PartOf.h"
#include "vellora/Host/Logger.h"
#include "vellora/Platform/Values/Error.h"

namespace vellora {

/// Logs what goes wrong in one operation of a service, under the operation's name. Once the service has been
/// released it logs nothing.
///
/// Ownership: holds the service weakly, and during a call of the logger strongly. The operation's name must
/// live as long as the program: a literal.
///
/// Threads: immutable.
class FailureLog {
 public:
  template <class Service>
  FailureLog(const std::weak_ptr<Service>& service, CorvaneSDK::Logger& logger, std::string_view operation)
      : logger_(partOf(service, logger)), operation_(operation) {}

  /// Logs the operation, `failure` and what the error says as one line.
  template <ErrorValue E>
  void note(std::string_view failure, const E& error) const {
    if (const auto logger = logger_.lock()) logError(*logger, operation_, failure, error);
  }

 private:
  std::weak_ptr<CorvaneSDK::Logger> logger_;
  std::string_view operation_;
};

}  // namespace vellora
