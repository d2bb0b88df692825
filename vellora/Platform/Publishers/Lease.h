#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <utility>

#include "vellora/Platform/Queues/TimedQueue.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// How long others may join a run of `SharedRuns`. A run whose lease is over counts as lost: perhaps the host
/// has dropped its completion, and it never ends.
///
/// Ownership: shared by the run and whoever keeps it going. Shares the clock.
///
/// Threads: safe to use from several threads at once.
class VELLORA_EXPORT Lease {
 public:
  /// How long a run may give no sign of life: as long as a question waits by default.
  static constexpr TimedQueue::Delay length = std::chrono::seconds(10);

  explicit Lease(std::shared_ptr<const TimedQueue> clock) : clock_(std::move(clock)) { renew(); }

  /// The run is alive. It gives its next sign of life when `pause` has passed, and at most `length` behind
  /// that.
  void renew(TimedQueue::Delay pause = TimedQueue::Delay::zero()) {
    end_ = (clock_->time() + pause + length).count();
  }

  [[nodiscard]] bool isOver() const { return clock_->time().count() >= end_; }

 private:
  const std::shared_ptr<const TimedQueue> clock_;
  std::atomic<double> end_ = 0;
};

}  // namespace vellora
