#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <vector>

#include "apps/records-server/RecordedRequest.h"

namespace vellora::recordsserver {

/// The requests of a server in the order in which they arrived.
///
/// Threads: synchronises itself.
class RequestLog {
 public:
  void add(RecordedRequest request);
  [[nodiscard]] std::vector<RecordedRequest> requests() const;
  void clear();

  /// Waits until the log holds at least `count` requests; false when `atMost` has passed before.
  [[nodiscard]] bool waitFor(std::size_t count, std::chrono::milliseconds atMost) const;

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable arrived_;
  std::vector<RecordedRequest> requests_;
};

}  // namespace vellora::recordsserver
