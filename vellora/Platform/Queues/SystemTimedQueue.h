#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "vellora/Platform/Queues/Alarms.h"
#include "vellora/Platform/Queues/Sleep.h"
#include "vellora/Platform/Queues/TimedQueue.h"

namespace vellora::detail {

/// A timed queue with a thread of its own, which begins with the first work and never ends:
/// `TimedQueue::system`. Internal: not for installed headers.
///
/// Ownership: it must outlive its thread.
///
/// Threads and Errors: as `TimedQueue`.
class SystemTimedQueue final : public TimedQueue {
 public:
  [[nodiscard]] Alarm after(Delay delay, Work work) override;
  void cancel(Alarm alarm) override;
  [[nodiscard]] Delay time() const override;
  [[nodiscard]] bool runsHere() const override;

 private:
  using Moment = Sleep::Moment;

  void start();
  [[noreturn]] void run();
  [[nodiscard]] Work waitForWork();

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

}  // namespace vellora::detail
