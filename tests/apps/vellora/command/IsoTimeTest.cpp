#include "apps/vellora/command/IsoTime.h"

#include <gtest/gtest.h>

#include <limits>

namespace vellora::command {
namespace {

TEST(IsoTimeTest, IsInUtcAndWholeSeconds) {
  EXPECT_EQ(isoTime(Date::since1970(0)), "1970-01-01T00:00:00Z");
  EXPECT_EQ(isoTime(Date::since1970(1'700'000'000.9)), "2023-11-14T22:13:20Z");
  EXPECT_EQ(isoTime(Date::since1970(2'147'483'648)), "2038-01-19T03:14:08Z");
  EXPECT_EQ(isoTime(Date::since1970(4'107'542'399)), "2100-02-28T23:59:59Z");
  EXPECT_EQ(isoTime(Date::since1970(4'107'542'400)), "2100-03-01T00:00:00Z");
  EXPECT_EQ(isoTime(Date::since1970(253402300799)), "9999-12-31T23:59:59Z");
}

TEST(IsoTimeTest, BeyondTheCalendarItIsSecondsSince1970) {
  EXPECT_EQ(isoTime(Date::since1970(-1.5)), "-1.500000");
  EXPECT_EQ(isoTime(Date::since1970(253402300800)), "253402300800.000000");
  EXPECT_EQ(isoTime(Date::since1970(std::numeric_limits<double>::infinity())), "inf");
}

}  // namespace
}  // namespace vellora::command
