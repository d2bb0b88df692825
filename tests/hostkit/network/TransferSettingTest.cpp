#include "hostkit/network/TransferSetting.h"

#include <gtest/gtest.h>

#include <cmath>

namespace vellora::hostkit {
namespace {

TEST(TransferSettingTest, CurlTakesAtLeastAMillisecond) {
  EXPECT_EQ(wholeMilliseconds(15), 15'000);
  EXPECT_EQ(wholeMilliseconds(0.25), 250);
  EXPECT_EQ(wholeMilliseconds(0.0001), 1);
  EXPECT_EQ(wholeMilliseconds(0), 1);
  EXPECT_EQ(wholeMilliseconds(-HUGE_VAL), 1);
}

TEST(TransferSettingTest, CurlTakesAtMostADay) {
  EXPECT_EQ(wholeMilliseconds(86'400), 86'400'000);
  EXPECT_EQ(wholeMilliseconds(86'401), 86'400'000);
  EXPECT_EQ(wholeMilliseconds(HUGE_VAL), 86'400'000);
  EXPECT_EQ(wholeMilliseconds(std::nan("")), 86'400'000);
}

}  // namespace
}  // namespace vellora::hostkit
