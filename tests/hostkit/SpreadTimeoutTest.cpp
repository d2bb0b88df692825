#include "hostkit/SpreadTimeout.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <set>

namespace vellora::hostkit {
namespace {

using namespace std::chrono_literals;

double spread(double share, double chance) {
  return spreadTimeout(1000s, share, [chance] { return chance; }).count();
}

TEST(SpreadTimeoutTest, LiesBetweenTheShareBelowAndTheShareAbove) {
  EXPECT_DOUBLE_EQ(spread(0.1, 0), 900);
  EXPECT_DOUBLE_EQ(spread(0.1, 0.5), 1000);
  EXPECT_DOUBLE_EQ(spread(0.1, 1), 1100);
}

TEST(SpreadTimeoutTest, WithoutAShareIsTheTimeoutItself) {
  for (const double chance : {0.0, 0.3, 1.0}) EXPECT_EQ(spread(0, chance), 1000);
}

TEST(SpreadTimeoutTest, AShareThatIsNoneCountsAsTheNearest) {
  EXPECT_DOUBLE_EQ(spread(7, 0), 0);
  EXPECT_DOUBLE_EQ(spread(-1, 1), 1000);
  EXPECT_DOUBLE_EQ(spread(std::nan(""), 1), 1000);
  EXPECT_DOUBLE_EQ(spread(0.1, 9), 1100);
}

TEST(SpreadTimeoutTest, IsATenthAtMostAndAtRandomUnlessToldOtherwise) {
  std::set<double> seen;
  for (int time = 0; time < 100; ++time) seen.insert(spreadTimeout(1000s).count());
  EXPECT_GE(*seen.begin(), 900);
  EXPECT_LE(*seen.rbegin(), 1100);
  EXPECT_GT(seen.size(), 1U);  // the same number a hundred times is no chance
}

}  // namespace
}  // namespace vellora::hostkit
