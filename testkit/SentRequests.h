#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "testkit/StubNetwork.h"

namespace vellora::testkit {

/// What a `StubNetwork` was asked, in the order in which it came. Internal: not for installed headers.
///
/// Threads: safe to use from several threads at once.
class SentRequests {
 public:
  using Request = StubNetwork::Request;

  /// Adds a request of the calling thread.
  void add(const CorvaneSDK::NetRequest& request);

  [[nodiscard]] std::vector<Request> all() const;
  [[nodiscard]] std::vector<std::string> urls() const;
  [[nodiscard]] std::size_t count() const;
  [[nodiscard]] std::size_t count(std::string_view url) const;

  /// Waits until there are `count`; false when there are not after `limit`.
  [[nodiscard]] bool waitFor(std::size_t count, std::chrono::milliseconds limit) const;

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable added_;
  std::vector<Request> all_;  // under mutex_
};

}  // namespace vellora::testkit
