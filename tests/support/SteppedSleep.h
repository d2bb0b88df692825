#pragma once

#include <chrono>
#include <cstddef>

namespace vellora::tests {

/// The sleep of every thread of the library and of the ready-made host, in the program that links
/// `vellora_stepped_sleep`. Their time stands still but for the steps that are made here.
struct SteppedSleep {
  /// Lets time pass, and wakes who waits for it. Gives back how many threads that were, once all of them are
  /// awake. A thread that sleeps in a poll of its own cannot be woken so: it counts, and sleeps on.
  static std::size_t pass(std::chrono::seconds time);

  /// How often a thread wakes in an hour. That many threads sleep at its begin, and after each minute.
  static std::size_t wakeUpsOfAnHour(std::size_t sleepers);

  /// How often a thread has gone to sleep so far.
  [[nodiscard]] static std::size_t sleeps();

  /// Returns once that many threads sleep, or more.
  static void waitForSleepers(std::size_t count);

  /// How many threads sleep that no time wakes.
  [[nodiscard]] static std::size_t untimedSleepers();
};

}  // namespace vellora::tests
