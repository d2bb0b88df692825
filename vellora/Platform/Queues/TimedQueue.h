#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// Where work runs after a while: the deadlines of questions. `TimedQueue::system` is the library's own. A
/// program that steps time by hand, such as a test, hands in one of its own.
///
///     const auto alarm = TimedQueue::system()->after(std::chrono::seconds(5), [] { giveUp(); });
///     …
///     TimedQueue::system()->cancel(alarm);  // answered in time
///
/// Ownership: held by `std::shared_ptr`. It owns the work until that has run or is cancelled.
///
/// Threads: all calls may be made from any thread, also from work that runs here.
///
/// Errors: `after` throws `std::bad_alloc`, that of `system` also when the system has no thread for it; the
/// work is then not taken.
///
/// Units: a delay is a number of seconds of a clock that nobody sets. A negative one counts as none, one that
/// is not a number, or is longer than a year, as a year.
class VELLORA_EXPORT TimedQueue {
 public:
  /// One piece of work; not empty. It must be quick, since all others wait for it: what takes its time goes
  /// on to a queue.
  using Work = std::function<void()>;
  using Delay = std::chrono::duration<double>;

  /// Names a piece of work; 0 names none.
  using Alarm = std::uint64_t;

  virtual ~TimedQueue() = default;
  TimedQueue(const TimedQueue&) = delete;
  TimedQueue& operator=(const TimedQueue&) = delete;

  /// Runs `work` once, when `delay` has passed; never inside this call. Of equal moments the work that came
  /// first runs first.
  [[nodiscard]] virtual Alarm after(Delay delay, Work work) = 0;

  /// Drops work that has not begun. Does nothing for work that has, and does not wait for it: at its moment
  /// it may be about to run when this returns.
  virtual void cancel(Alarm alarm) = 0;

  /// How much time has passed on the queue's clock since some moment of its own. Only differences count.
  [[nodiscard]] virtual Delay time() const = 0;

  /// Whether the calling thread is running work of this queue, as far as the queue can tell: nobody may wait
  /// there for what a deadline ends. A queue of yours that does not say is taken to run elsewhere.
  [[nodiscard]] virtual bool runsHere() const { return false; }

  /// The process-wide one: a single thread, which sleeps until the next moment, however many there are. It
  /// begins with the first work and lasts as long as the process. It is not of the pool on which the queues
  /// run, so that it is in time when all of those are blocked.
  [[nodiscard]] static const std::shared_ptr<TimedQueue>& system();

  /// As long as the documentation of the class says that `delay` is.
  [[nodiscard]] static Delay bounded(Delay delay);

 protected:
  TimedQueue() = default;
};

}  // namespace vellora
