#include "vellora/DataServices/Expiry.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/support/TestClock.h"

namespace vellora {
namespace {

TEST(ExpiryTest, OnlyWhatIsOlderThanTheTimeoutIsExpired) {
  const tests::TestClock clock(Date::since1970(1000));
  EXPECT_FALSE(Expiry(100).isPast(Date::since1970(900)));
  EXPECT_TRUE(Expiry(100).isPast(Date::since1970(899.5)));
  EXPECT_FALSE(Expiry(100).isPast(Date::since1970(5000)));
  EXPECT_FALSE(Expiry(std::numeric_limits<double>::quiet_NaN()).isPast(Date::since1970(0)));
}

TEST(ExpiryTest, EachAgeIsThatAtTheMomentOfTheQuestion) {
  tests::TestClock clock(Date::since1970(1000));
  const Expiry expiry(100);
  EXPECT_FALSE(expiry.isPast(Date::since1970(900)));
  clock.advance(1);
  EXPECT_TRUE(expiry.isPast(Date::since1970(900)));
  EXPECT_FALSE(expiry.isPast(Date::since1970(901)));
}

}  // namespace
}  // namespace vellora
