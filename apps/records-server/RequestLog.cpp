#include "apps/records-server/RequestLog.h"

#include <utility>

namespace vellora::recordsserver {

void RequestLog::add(RecordedRequest request) {
  {
    const std::lock_guard lock(mutex_);
    requests_.push_back(std::move(request));
  }
  arrived_.notify_all();
}

std::vector<RecordedRequest> RequestLog::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

void RequestLog::clear() {
  const std::lock_guard lock(mutex_);
  requests_.clear();
}

bool RequestLog::waitFor(std::size_t count, std::chrono::milliseconds atMost) const {
  std::unique_lock lock(mutex_);
  return arrived_.wait_for(lock, atMost, [&] { return requests_.size() >= count; });
}

}  // namespace vellora::recordsserver
