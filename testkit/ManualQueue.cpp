#include "testkit/ManualQueue.h"

#include <utility>

namespace vellora::testkit {

void ManualQueue::async(Work work) {
  const std::lock_guard lock(mutex_);
  work_.push_back(std::move(work));
  submitted_.notify_all();
}

bool ManualQueue::runsHere() const {
  const std::lock_guard lock(mutex_);
  return runner_ == std::this_thread::get_id();
}

bool ManualQueue::runNext() {
  Work work;
  std::thread::id outer;  // work may run the queue, too
  {
    const std::lock_guard lock(mutex_);
    if (work_.empty()) return false;
    work = std::move(work_.front());
    work_.pop_front();
    outer = std::exchange(runner_, std::this_thread::get_id());
  }
  work();
  const std::lock_guard lock(mutex_);
  runner_ = outer;
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

bool ManualQueue::runUntil(const std::function<bool()>& isDone, std::chrono::milliseconds limit) {
  while (!isDone()) {
    if (runNext()) continue;
    std::unique_lock lock(mutex_);
    if (!submitted_.wait_for(lock, limit, [this] { return !work_.empty(); })) return false;
  }
  return true;
}

}  // namespace vellora::testkit
