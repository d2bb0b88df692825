#pragma once

#include <chrono>

namespace vellora::hostkit {

/// When a server that failed may be tried again: after a pause that doubles with each failure in a row. Until
/// then nobody waits for it.
///
/// Threads: one at a time.
class ReconnectPause {
 public:
  using Moment = std::chrono::steady_clock::time_point;

  ReconnectPause(std::chrono::milliseconds first, std::chrono::milliseconds longest)
      : first_(first), longest_(longest), next_(first) {}

  /// Whether nothing is tried at that moment.
  [[nodiscard]] bool lasts(Moment present) const { return present < end_; }

  void noteFailure(Moment present);
  void noteSuccess();

 private:
  std::chrono::milliseconds first_;
  std::chrono::milliseconds longest_;
  std::chrono::milliseconds next_;
  Moment end_ = Moment::min();
};

}  // namespace vellora::hostkit
