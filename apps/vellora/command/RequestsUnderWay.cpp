#include "apps/vellora/command/RequestsUnderWay.h"

#include <algorithm>
#include <chrono>

namespace vellora::command {

void RequestsUnderWay::requestSent(const RequestReport& report) {
  const std::lock_guard lock(mutex_);
  paths_.push_back(report.path);
}

void RequestsUnderWay::requestEnded(const RequestReport& report) {
  const std::lock_guard lock(mutex_);
  const auto sent = std::find(paths_.begin(), paths_.end(), report.path);
  if (sent != paths_.end() && !hasEnded_) paths_.erase(sent);
}

void RequestsUnderWay::questionEnded(const QuestionReport& /*report*/) {
  const std::lock_guard lock(mutex_);
  hasEnded_ = true;
  ended_.notify_all();
}

std::optional<std::string> RequestsUnderWay::oldest() const {
  constexpr auto longest = std::chrono::seconds(5);
  std::unique_lock lock(mutex_);
  ended_.wait_for(lock, longest, [this] { return hasEnded_; });
  return paths_.empty() ? std::nullopt : std::optional(paths_.front());
}

}  // namespace vellora::command
