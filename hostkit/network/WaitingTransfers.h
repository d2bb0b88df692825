#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <vector>

#include "hostkit/network/CurlTransfer.h"

namespace vellora::hostkit {

/// The transfers that wait until they may begin, in the order in which they came.
///
/// A request's own time begins with the transfer. A transfer may wait here for as long as the queue gets on:
/// it is given up when nothing has got on for as long as its request may take. So a slow server answers all,
/// however many they are, and a dead one keeps none waiting for longer than its time. The price: when all
/// that are under way stall, every other one with their time fails unsent at the same moment.
///
/// The cost of a transfer does not grow with their number: all of them are looked at only when the time of
/// one may be over.
///
/// Ownership: owns the transfers.
///
/// Threads: one at a time.
class WaitingTransfers {
 public:
  using TimePoint = CurlTransfer::Clock::time_point;
  using Transfers = std::vector<std::unique_ptr<CurlTransfer>>;

  [[nodiscard]] bool empty() const noexcept { return waiting_.empty(); }

  void add(std::unique_ptr<CurlTransfer> transfer, TimePoint now);

  /// The one that came first. There must be one.
  [[nodiscard]] std::unique_ptr<CurlTransfer> takeFirst();

  /// Tells that the queue has got on: a transfer has ended, and not by its time.
  void noteProgress(TimePoint now) noexcept { progress_ = now - postponed_; }

  /// Puts off when the time of those is over that wait.
  void postpone(CurlTransfer::Clock::duration by) noexcept { postponed_ += by; }

  /// Those whose time is over, in their order.
  [[nodiscard]] Transfers takeExpired(TimePoint now);

  /// All of them, in their order.
  [[nodiscard]] Transfers takeAll();

  /// No transfer's time is over before. The end of all time when none waits.
  [[nodiscard]] TimePoint soonestExpiry() const noexcept;

 private:
  struct Waiting {
    std::unique_ptr<CurlTransfer> transfer;
    TimePoint since;
  };

  [[nodiscard]] TimePoint expiryOf(const Waiting& waiting) const;

  std::deque<Waiting> waiting_;
  // All times below, and `since`, are without what was postponed.
  CurlTransfer::Clock::duration postponed_{};
  TimePoint progress_ = TimePoint::min();
  TimePoint soonest_ = TimePoint::max();  // or earlier than that: progress puts expiries off
};

}  // namespace vellora::hostkit
