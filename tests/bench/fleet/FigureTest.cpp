#include "bench/fleet/Figure.h"

#include <gtest/gtest.h>

namespace vellora::fleet {
namespace {

TEST(FigureTest, HasThreeDigitsAndAPrefix) {
  EXPECT_EQ(figure(0), "0");
  EXPECT_EQ(figure(0.0123456), "0.0123");
  EXPECT_EQ(figure(12), "12");
  EXPECT_EQ(figure(1254), "1.25 k");
  EXPECT_EQ(figure(41'500'000), "41.5 M");
  EXPECT_EQ(figure(3.2e9), "3.2 G");
}

TEST(FigureTest, TakesTheNextPrefixWhereRoundingMakesAThousand) {
  EXPECT_EQ(figure(999.4), "999");
  EXPECT_EQ(figure(999.6), "1 k");
  EXPECT_EQ(figure(999'700), "1 M");
}

}  // namespace
}  // namespace vellora::fleet
