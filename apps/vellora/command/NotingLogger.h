#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "apps/vellora/command/RequestFailures.h"
#include "vellora/Host/LogLevel.h"
#include "vellora/Host/Logger.h"

namespace vellora::command {

/// Passes lines on, notes the errors of answers, and tells of the line that somebody waits for.
///
/// Ownership: shares what it is given.
///
/// Threads: as safe as the other logger.
class NotingLogger final : public CorvaneSDK::Logger {
 public:
  NotingLogger(std::shared_ptr<RequestFailures> failures, std::shared_ptr<CorvaneSDK::Logger> next);

  void log(std::string_view message, CorvaneSDK::LogLevel level) override;

  /// Calls `action` each time a line is exactly `line`, on the thread that logs it.
  void whenLogged(std::string line, std::function<void()> action);

 private:
  const std::shared_ptr<RequestFailures> failures_;
  const std::shared_ptr<CorvaneSDK::Logger> next_;
  std::mutex mutex_;
  std::string awaitedLine_;
  std::function<void()> action_;
};

}  // namespace vellora::command
