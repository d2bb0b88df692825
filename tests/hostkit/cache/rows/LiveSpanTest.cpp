#include "hostkit/cache/rows/LiveSpan.h"

#include <gtest/gtest.h>

namespace vellora::hostkit {
namespace {

constexpr double sevenDays = 604'800;

TEST(LiveSpanTest, ReachesSevenDaysInBothDirections) {
  const double now = 1'700'000'000;
  const LiveSpan live(Date::since1970(now), CorvaneSDK::Table::MaxAge::sevenDays);

  EXPECT_TRUE(live.contains(Date::since1970(now)));
  EXPECT_TRUE(live.contains(Date::since1970(now - sevenDays)));
  EXPECT_FALSE(live.contains(Date::since1970(now - sevenDays - 0.001)));
  EXPECT_TRUE(live.contains(Date::since1970(now + sevenDays)));
  EXPECT_FALSE(live.contains(Date::since1970(now + sevenDays + 0.001)));
}

}  // namespace
}  // namespace vellora::hostkit
