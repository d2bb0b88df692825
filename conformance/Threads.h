#pragma once

#include <cstddef>
#include <functional>
#include <latch>
#include <thread>
#include <vector>

namespace vellora::conformance {

/// Runs `body` on `count` threads, with their numbers from 0, and returns when all have ended. None begins
/// before all of them have started, so that they meet however slow the machine is.
inline void runOnThreads(int count, const std::function<void(int)>& body) {
  std::latch start(count);
  std::vector<std::thread> threads;
  threads.reserve(static_cast<std::size_t>(count));
  for (int number = 0; number < count; ++number) {
    threads.emplace_back([&start, &body, number] {
      start.arrive_and_wait();
      body(number);
    });
  }
  for (auto& thread : threads) thread.join();
}

}  // namespace vellora::conformance
