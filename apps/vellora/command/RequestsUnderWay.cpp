#include "apps/vellora/command/RequestsUnderWay.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "apps/vellora/command/Narration.h"

namespace vellora::command {

RequestsUnderWay::RequestsUnderWay(Tell tell) : tell_(std::move(tell)) {}

void RequestsUnderWay::questionAsked() {
  const std::lock_guard lock(mutex_);
  ++asked_;
}

void RequestsUnderWay::requestSent(const RequestReport& report) {
  const std::lock_guard lock(mutex_);
  paths_.push_back(report.path);
}

void RequestsUnderWay::requestEnded(const RequestReport& report) {
  if (tell_) tell_(narrationOf(report));
  const std::lock_guard lock(mutex_);
  const auto sent = std::find(paths_.begin(), paths_.end(), report.path);
  if (sent != paths_.end()) paths_.erase(sent);
}

void RequestsUnderWay::questionEnded(const QuestionReport& report) {
  if (tell_) tell_(narrationOf(report));
  const std::lock_guard lock(mutex_);
  ++ended_;
  oldestAtTheEnd_ = oldestNow();
  end_.notify_all();
}

void RequestsUnderWay::awaitEnd() const {
  constexpr auto longest = std::chrono::seconds(5);
  std::unique_lock lock(mutex_);
  end_.wait_for(lock, longest, [this] { return hasEnded(); });
}

std::optional<std::string> RequestsUnderWay::oldest() const {
  awaitEnd();
  const std::lock_guard lock(mutex_);
  return hasEnded() ? oldestAtTheEnd_ : oldestNow();
}

std::optional<std::string> RequestsUnderWay::oldestYet() const {
  const std::lock_guard lock(mutex_);
  return oldestNow();
}

bool RequestsUnderWay::hasEnded() const {
  return ended_ >= std::max<std::size_t>(asked_, 1);
}

std::optional<std::string> RequestsUnderWay::oldestNow() const {
  return paths_.empty() ? std::nullopt : std::optional(paths_.front());
}

}  // namespace vellora::command
