#pragma once

#include <chrono>
#include <optional>
#include <string_view>

namespace vellora::hostkit {

/// How long a request waits for the answer of another process before it is sent by itself. Those that begin
/// to wait at one moment do not end at one moment, so that a server that is slow is not asked by all at once:
/// each has a share of its own.
///
/// Ownership: a plain value.
///
/// Threads: one at a time.
///
/// Units: time-outs are in seconds.
class LeaseWait {
 public:
  using Moment = std::chrono::steady_clock::time_point;

  /// Ends at half of `timeout`, or earlier by up to a fifth of that. `lease` is how long a process that died
  /// is waited for, and `share` is from 0 to 1.
  LeaseWait(Moment since, double timeout, std::chrono::milliseconds lease, double share)
      : since_(since), longest_(timeout * (0.5 - share / 10)), lease_(lease), share_(share) {}

  /// The share that random bytes come to: more than 0, and 1 at most. 1 where there are none.
  [[nodiscard]] static double shareOf(std::string_view bytes);

  /// Whether the request is to be sent by itself.
  [[nodiscard]] bool isOver(Moment present) const;

  /// For how long it has waited.
  [[nodiscard]] double waited(Moment present) const;

  /// Another process is sending it.
  void noteHolder();

  /// It is not known who sends it. A request that was never told of another process ends its wait; one that
  /// was waits on, though no longer than if that process had died.
  void noteFailure(Moment present);

 private:
  Moment since_;
  double longest_;
  std::chrono::milliseconds lease_;
  double share_;
  bool hasHolder_ = false;
  std::optional<Moment> failedSince_;
};

}  // namespace vellora::hostkit
