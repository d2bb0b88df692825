#pragma once

#include <chrono>
#include <cstdlib>
#include <future>

namespace vellora::tests {

/// Waits for what a completion promised. Ends the program when it does not come within a minute, since a
/// completion may then still be on its way into a test that is over.
template <class T>
[[nodiscard]] T awaited(std::future<T> answer) {
  if (answer.wait_for(std::chrono::seconds(60)) != std::future_status::ready) std::abort();
  return answer.get();
}

}  // namespace vellora::tests
