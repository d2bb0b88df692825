#pragma once

#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "testkit/StubNetwork.h"

namespace vellora::testkit {

/// The completions of a `StubNetwork` that are not called yet: those that are held until the test releases
/// them, and those that hang. Internal: not for installed headers.
///
/// Ownership: owns the completions. What is not delivered when it is destroyed is dropped uncalled.
///
/// Threads: safe to use from several threads at once.
class PendingAnswers {
 public:
  /// A completion, and what it will be called with.
  struct Pending {
    std::string url;
    StubAnswer answer;
    CorvaneSDK::Network::Completion completion;
  };

  /// Keeps what is held or hangs. What is neither comes back, to be delivered at once.
  [[nodiscard]] std::vector<Pending> keep(Pending pending);

  /// These take what is held, oldest first: the oldest, those for exactly `url`, or all.
  [[nodiscard]] std::vector<Pending> takeOldest();
  [[nodiscard]] std::vector<Pending> take(std::string_view url);
  [[nodiscard]] std::vector<Pending> takeAll();

  /// How many are held.
  [[nodiscard]] std::size_t held() const;

  /// Calls the completions in turn, and tells how many they were. Each is freed before the next one runs. A
  /// completion may destroy the network.
  static std::size_t deliver(std::vector<Pending> pending);

 private:
  [[nodiscard]] std::vector<Pending> takeIf(const std::function<bool(const Pending&)>& wanted);

  mutable std::mutex mutex_;
  std::vector<Pending> held_;     // under mutex_
  std::vector<Pending> hanging_;  // under mutex_
};

}  // namespace vellora::testkit
