#pragma once

#include <chrono>
#include <cstddef>
#include <thread>

namespace vellora::tests {

/// Waits until a condition holds. Gives up, with false, when what is counted has not changed for a hundred
/// seconds: a busy machine takes as long as it needs, and what hangs is still told.
template <class Count, class Condition>
[[nodiscard]] bool waitUntil(const Count& count, Condition holds) {
  using Clock = std::chrono::steady_clock;
  auto last = static_cast<std::size_t>(count);
  auto changed = Clock::now();
  while (!holds()) {
    if (const auto now = static_cast<std::size_t>(count); now != last) {
      last = now;
      changed = Clock::now();
    } else if (Clock::now() - changed > std::chrono::seconds(100)) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace vellora::tests
