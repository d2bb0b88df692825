#include "vellora/Platform/Queues/SystemTimedQueue.h"

#include <algorithm>
#include <new>
#include <system_error>
#include <utility>

namespace vellora::detail {

TimedQueue::Alarm SystemTimedQueue::after(Delay delay, Work work) {
  const auto moment = Sleep::now() + std::chrono::duration_cast<Sleep::Clock::duration>(bounded(delay));
  const std::lock_guard lock(mutex_);
  if (!started_) start();
  const Alarm alarm = alarms_.add(moment, std::move(work));
  if (moment < wakesAt_) {
    wakesAt_ = moment;
    earlier_.notify_one();
  }
  return alarm;
}

void SystemTimedQueue::cancel(Alarm alarm) {
  Work removed;  // destroyed outside the lock
  const std::lock_guard lock(mutex_);
  removed = alarms_.remove(alarm);
}

TimedQueue::Delay SystemTimedQueue::time() const {
  return Sleep::now().time_since_epoch();
}

bool SystemTimedQueue::runsHere() const {
  return thread_ == std::this_thread::get_id();
}

void SystemTimedQueue::start() {
  try {
    std::thread([this] { run(); }).detach();
  } catch (const std::system_error&) {
    throw std::bad_alloc();
  }
  started_ = true;
}

void SystemTimedQueue::run() {
  thread_ = std::this_thread::get_id();
  while (true) {
    const Work work = waitForWork();
    try {
      work();
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): there is nobody to be told
    }
  }
}

TimedQueue::Work SystemTimedQueue::waitForWork() {
  std::unique_lock lock(mutex_);
  while (true) {
    const auto expected = std::exchange(wakesAt_, isAwake);
    const auto moment = Sleep::now();
    if (auto work = alarms_.takeDue(moment)) return work;
    wakesAt_ = alarms_.next().value_or(Sleep::never);
    if (expected > moment) wakesAt_ = std::min(wakesAt_, expected);
    Sleep::on(earlier_, lock, wakesAt_);
  }
}

}  // namespace vellora::detail
