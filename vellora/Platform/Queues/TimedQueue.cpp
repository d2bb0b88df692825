#include "vellora/Platform/Queues/TimedQueue.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

#include "vellora/Platform/Queues/Alarms.h"
#include "vellora/Platform/Queues/Sleep.h"

namespace vellora {

namespace {

using Moment = Sleep::Moment;

constexpr TimedQueue::Delay longest = std::chrono::hours(24 * 365);

class SystemTimedQueue final : public TimedQueue {
 public:
  Alarm after(Delay delay, Work work) override {
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

  void cancel(Alarm alarm) override {
    Work removed;  // destroyed outside the lock
    const std::lock_guard lock(mutex_);
    removed = alarms_.remove(alarm);
  }

  [[nodiscard]] Delay time() const override { return Sleep::now().time_since_epoch(); }
  [[nodiscard]] bool runsHere() const override { return thread_ == std::this_thread::get_id(); }

 private:
  void start() {
    try {
      std::thread([this] { run(); }).detach();
    } catch (const std::system_error&) {
      throw std::bad_alloc();
    }
    started_ = true;
  }

  [[noreturn]] void run() {
    thread_ = std::this_thread::get_id();
    while (true) {
      const Work work = waitForWork();
      try {
        work();
      } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): there is nobody to be told
      }
    }
  }

  Work waitForWork() {
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

  static constexpr auto isAwake = Moment::min();

  std::atomic<std::thread::id> thread_;
  std::mutex mutex_;  // guards what follows
  // Until when the thread sleeps. That stays so when the alarm is cancelled, as most are: the next one would
  // have to wake it again.
  Moment wakesAt_ = isAwake;
  std::condition_variable earlier_;
  Alarms<Moment> alarms_;
  bool started_ = false;
};

}  // namespace

TimedQueue::Delay TimedQueue::bounded(Delay delay) {
  if (std::isnan(delay.count())) return longest;
  return std::clamp(delay, Delay::zero(), longest);
}

const std::shared_ptr<TimedQueue>& TimedQueue::system() {
  // Never destroyed: its thread may run while the process ends.
  static const auto* const queue =
      new std::shared_ptr<TimedQueue>(std::make_shared<SystemTimedQueue>());  // NOLINT: see above
  return *queue;
}

}  // namespace vellora
