#pragma once

#include <cstddef>
#include <memory>

#include "vellora/Platform/Queues/TimedQueue.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// A timed queue whose time passes when the test says so, on the thread that says so: the deadlines of a
/// `Catalog` without waiting for them.
///
///     const auto timer = std::make_shared<ManualTimer>();
///     const Catalog catalog(host, {.timer = timer});
///     auto question = catalog.records(ids, {.deadline = 5s});
///     timer->advance(5s);
///     EXPECT_EQ(std::move(question).get().end, End::timedOut);
///
/// Ownership: owns the work that has not run.
///
/// Threads: safe to use from several threads at once; let one of them at a time advance it.
class VELLORA_EXPORT ManualTimer final : public TimedQueue {
 public:
  ManualTimer();
  ~ManualTimer() override;

  Alarm after(Delay delay, Work work) override;
  void cancel(Alarm alarm) override;

  /// Lets `delay` pass, and runs what becomes due on the way, each at its own moment.
  void advance(Delay delay);

  /// Lets time pass until the first work is due, and runs that one. False when none waits.
  bool advanceToNext();

  /// How many pieces of work wait.
  [[nodiscard]] std::size_t pending() const;

  /// How much time has passed.
  [[nodiscard]] Delay time() const override;

 private:
  class Schedule;

  const std::unique_ptr<Schedule> schedule_;
};

}  // namespace vellora::testkit
