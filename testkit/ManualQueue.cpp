#include "testkit/ManualQueue.h"

#include <utility>

namespace vellora::testkit {

void ManualQueue::async(Work work) {
  const std::lock_guard lock(mutex_);
  work_.push_back(std::move(work));
}

bool ManualQueue::runNext() {
  Work work;
  {
    const std::lock_guard lock(mutex_);
    if (work_.empty()) return false;
    work = std::move(work_.front());
    work_.pop_front();
  }
  work();
  return true;
}

std::size_t ManualQueue::runAll() {
  std::size_t count = 0;
  while (runNext()) ++count;
  return count;
}

std::size_t ManualQueue::pending() const {
  const std::lock_guard lock(mutex_);
  return work_.size();
}

}  // namespace vellora::testkit
