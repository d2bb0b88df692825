#include "vellora/Platform/Values/Date.h"

#include <gtest/gtest.h>

namespace vellora {
namespace {

TEST(DateTest, CountsFromTheReferenceDate) {
  EXPECT_EQ(Date().secondsSinceReferenceDate(), 0.0);
  EXPECT_EQ(Date().secondsSince1970(), 978307200.0);
  EXPECT_EQ(Date::sinceReferenceDate(0), Date());
}

TEST(DateTest, CountsFrom1970) {
  EXPECT_EQ(Date::since1970(0).secondsSinceReferenceDate(), -978307200.0);
  EXPECT_EQ(Date::since1970(978307200.0), Date());
  EXPECT_EQ(Date::since1970(1795000000.5).secondsSince1970(), 1795000000.5);
}

TEST(DateTest, TellsTheSecondsFromAnEarlierPoint) {
  const Date earlier = Date::sinceReferenceDate(10);
  const Date later = Date::sinceReferenceDate(12.5);
  EXPECT_EQ(later.secondsSince(earlier), 2.5);
  EXPECT_EQ(earlier.secondsSince(later), -2.5);
}

TEST(DateTest, NowIsAfterTheReferenceDate) {
  EXPECT_GT(now(), Date());
}

TEST(DateTest, OrdersByTime) {
  EXPECT_LT(Date::since1970(1), Date::since1970(2));
  EXPECT_EQ(Date::since1970(1), Date::since1970(1));
  EXPECT_GT(Date::sinceReferenceDate(0), Date::since1970(0));
}

}  // namespace
}  // namespace vellora
