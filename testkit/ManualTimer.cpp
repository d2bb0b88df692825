#include "testkit/ManualTimer.h"

#include <algorithm>
#include <mutex>
#include <optional>
#include <utility>

#include "vellora/Platform/Queues/Alarms.h"

namespace vellora::testkit {

class ManualTimer::Schedule {
 public:
  Alarm add(Delay delay, Work work) {
    const std::lock_guard lock(mutex_);
    return alarms_.add(time_ + bounded(delay), std::move(work));
  }

  [[nodiscard]] Work remove(Alarm alarm) {
    const std::lock_guard lock(mutex_);
    return alarms_.remove(alarm);
  }

  /// Goes on to the first work that is due by `end`, and takes it; of any moment without an end.
  [[nodiscard]] Work takeNext(std::optional<Delay> end) {
    const std::lock_guard lock(mutex_);
    const auto next = alarms_.next();
    if (!next || (end && *next > *end)) return nullptr;
    time_ = *next;
    return alarms_.takeDue(*next);
  }

  void goTo(Delay end) {
    const std::lock_guard lock(mutex_);
    time_ = std::max(time_, end);  // work may have let time pass, too
  }

  [[nodiscard]] std::size_t pending() const {
    const std::lock_guard lock(mutex_);
    return alarms_.size();
  }

  [[nodiscard]] Delay time() const {
    const std::lock_guard lock(mutex_);
    return time_;
  }

 private:
  mutable std::mutex mutex_;
  // Under mutex_.
  Alarms<Delay> alarms_;
  Delay time_ = Delay::zero();
};

ManualTimer::ManualTimer() : schedule_(std::make_unique<Schedule>()) {}

ManualTimer::~ManualTimer() = default;

TimedQueue::Alarm ManualTimer::after(Delay delay, Work work) {
  return schedule_->add(delay, std::move(work));
}

void ManualTimer::cancel(Alarm alarm) {
  const Work removed = schedule_->remove(alarm);  // what it holds goes outside the lock
}

void ManualTimer::advance(Delay delay) {
  const Delay end = time() + delay;
  while (const auto work = schedule_->takeNext(end)) work();
  schedule_->goTo(end);
}

bool ManualTimer::advanceToNext() {
  const auto work = schedule_->takeNext(std::nullopt);
  if (!work) return false;
  work();
  return true;
}

std::size_t ManualTimer::pending() const {
  return schedule_->pending();
}

TimedQueue::Delay ManualTimer::time() const {
  return schedule_->time();
}

}  // namespace vellora::testkit
