#pragma once

#include <functional>
#include <thread>
#include <vector>

namespace vellora::conformance {

/// Runs `body` on `count` threads at once, with their numbers from 0, and returns when all have ended.
inline void runOnThreads(int count, const std::function<void(int)>& body) {
  std::vector<std::thread> threads;
  threads.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) threads.emplace_back(body, i);
  for (auto& thread : threads) thread.join();
}

}  // namespace vellora::conformance
