#include "tests/support/TestClock.h"

#include <chrono>
#include <mutex>
#include <optional>

namespace vellora {

namespace {

std::mutex mutex;
std::optional<Date> stopped;

}  // namespace

Date now() {
  {
    const std::lock_guard lock(mutex);
    if (stopped) return *stopped;
  }
  return Date::since1970(
      std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count());
}

namespace tests {

TestClock::TestClock(Date start) {
  set(start);
}

TestClock::~TestClock() {
  const std::lock_guard lock(mutex);
  stopped.reset();
}

void TestClock::set(Date date) {
  const std::lock_guard lock(mutex);
  stopped = date;
}

void TestClock::advance(double seconds) {
  const std::lock_guard lock(mutex);
  stopped = Date::sinceReferenceDate(stopped->secondsSinceReferenceDate() + seconds);
}

Date TestClock::date() const {
  const std::lock_guard lock(mutex);
  return *stopped;
}

}  // namespace tests
}  // namespace vellora
