#include "bench/fleet/Usage.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <numeric>

namespace vellora::fleet {
namespace {

TEST(UsageTest, StartsAsOftenADayAsItSays) {
  const Starts starts(Usage{.startsPerDay = 4});
  Random random(1);
  int count = 0;
  for (double time = starts.after(0, random); time < 1000 * secondsOfDay; time = starts.after(time, random))
    ++count;
  EXPECT_NEAR(count, 4000, 200);
}

TEST(UsageTest, SpreadsTheStartsOverTheHoursOfEachDay) {
  Usage usage;
  usage.starts = {};
  usage.starts[8] = 3;
  usage.starts[20] = 1;
  const Starts starts(usage);
  Random random(1);
  std::array<int, 24> found{};
  for (double time = starts.after(0, random); time < 1000 * secondsOfDay; time = starts.after(time, random))
    ++found.at(static_cast<std::size_t>(time / secondsOfHour) % 24);
  EXPECT_NEAR(found[8], 3000, 200);
  EXPECT_NEAR(found[20], 1000, 120);
  EXPECT_EQ(found[8] + found[20], std::accumulate(found.begin(), found.end(), 0));
}

TEST(UsageTest, StartsBehindTheMomentAlsoOnDaysBefore) {
  const Starts starts(Usage{});
  Random random(3);
  double time = -secondsOfDay;
  for (int i = 0; i < 1000; ++i) {
    const double next = starts.after(time, random);
    ASSERT_GT(next, time);
    time = next;
  }
}

}  // namespace
}  // namespace vellora::fleet
