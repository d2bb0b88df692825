#include "apps/vellora/command/NotingLogger.h"

#include <utility>

namespace vellora::command {

using CorvaneSDK::LogLevel;

namespace {

/// A row that cannot be read counts as absent, and is then asked of the server: no request has failed.
bool isAboutTheCache(std::string_view line) {
  return line.starts_with("cached") || line.starts_with("load(key:)") || line.starts_with("save(");
}

}  // namespace

NotingLogger::NotingLogger(std::shared_ptr<RequestFailures> failures,
                           std::shared_ptr<CorvaneSDK::Logger> next)
    : failures_(std::move(failures)), next_(std::move(next)) {}

void NotingLogger::log(std::string_view message, LogLevel level) {
  if (level == LogLevel::error && !isAboutTheCache(message)) failures_->note(message);
  next_->log(message, level);
  std::function<void()> action;
  {
    const std::lock_guard lock(mutex_);
    if (message == awaitedLine_) action = action_;
  }
  if (action) action();
}

void NotingLogger::whenLogged(std::string line, std::function<void()> action) {
  const std::lock_guard lock(mutex_);
  awaitedLine_ = std::move(line);
  action_ = std::move(action);
}

}  // namespace vellora::command
