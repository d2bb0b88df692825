#pragma once

#include <cstddef>
#include <mutex>
#include <utility>

#include "vellora/Platform/Queues/Alarms.h"
#include "vellora/Platform/Queues/TimedQueue.h"

namespace vellora::tests {

/// A timed queue whose time passes when the test says so, on the thread that says so.
///
///     timer->advance(std::chrono::seconds(10));  // runs what is due by then, in the order of its moments
///
/// Ownership: owns the work that has not run.
///
/// Threads: safe to use from several threads at once; let one of them at a time advance it.
class ManualTimer final : public TimedQueue {
 public:
  Alarm after(Delay delay, Work work) override {
    const std::lock_guard lock(mutex_);
    return alarms_.add(time_ + bounded(delay), std::move(work));
  }

  void cancel(Alarm alarm) override {
    Work removed;  // destroyed outside the lock
    const std::lock_guard lock(mutex_);
    removed = alarms_.remove(alarm);
  }

  /// Lets `delay` pass, and runs what becomes due on the way, each at its own moment.
  void advance(Delay delay) {
    const Delay end = time() + delay;
    while (const auto work = nextDueBy(end)) work();
    const std::lock_guard lock(mutex_);
    time_ = end;
  }

  /// How many pieces of work wait.
  [[nodiscard]] std::size_t pending() const {
    const std::lock_guard lock(mutex_);
    return alarms_.size();
  }

  /// How much time has passed.
  [[nodiscard]] Delay time() const override {
    const std::lock_guard lock(mutex_);
    return time_;
  }

 private:
  Work nextDueBy(Delay end) {
    const std::lock_guard lock(mutex_);
    const auto next = alarms_.next();
    if (!next || *next > end) return nullptr;
    time_ = *next;
    return alarms_.takeDue(end);
  }

  mutable std::mutex mutex_;
  // Under mutex_.
  Alarms<Delay> alarms_;
  Delay time_ = Delay::zero();
};

}  // namespace vellora::tests
