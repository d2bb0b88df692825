#pragma once

#include <algorithm>
#include <cstddef>
#include <thread>

namespace vellora::detail {

/// How many threads the pool has. At least four, also on a smaller machine, because a host's cache or
/// completion may block its thread for a while. Internal: not for installed headers.
[[nodiscard]] inline std::size_t threadCount() {
  return std::max(4U, std::thread::hardware_concurrency());
}

}  // namespace vellora::detail
