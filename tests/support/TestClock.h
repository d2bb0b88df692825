#pragma once

#include "vellora/Platform/Values/Date.h"

namespace vellora::tests {

/// Stops the library's clock while it lives, so that ages are exact. Link `vellora_test_clock` to use it: the
/// program's `vellora::now()` then reads the real clock except while a `TestClock` is alive. One at a time.
class TestClock {
 public:
  explicit TestClock(Date start = Date::since1970(1'700'000'000));
  ~TestClock();
  TestClock(const TestClock&) = delete;
  TestClock& operator=(const TestClock&) = delete;

  void set(Date date);
  void advance(double seconds);
  [[nodiscard]] Date date() const;
};

}  // namespace vellora::tests
