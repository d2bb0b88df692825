#include "bench/fleet/Random.h"

#include <gtest/gtest.h>

namespace vellora::fleet {
namespace {

TEST(RandomTest, GivesTheSameNumbersForTheSameSeed) {
  Random one(7);
  Random same(7);
  Random other(8);
  const double first = one.share();
  EXPECT_EQ(first, same.share());
  EXPECT_NE(first, other.share());
}

TEST(RandomTest, GivesNumbersBetweenTheTwo) {
  Random random(1);
  double sum = 0;
  for (int i = 0; i < 10'000; ++i) {
    const double number = random.between(2, 4);
    ASSERT_GE(number, 2);
    ASSERT_LT(number, 4);
    sum += number;
  }
  EXPECT_NEAR(sum / 10'000, 3, 0.02);
}

TEST(RandomTest, WaitsAsLongAsTheMeanOnAverage) {
  Random random(1);
  double sum = 0;
  for (int i = 0; i < 10'000; ++i) sum += random.wait(30);
  EXPECT_NEAR(sum / 10'000, 30, 1);
}

}  // namespace
}  // namespace vellora::fleet
