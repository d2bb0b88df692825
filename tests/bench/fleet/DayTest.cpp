#include "bench/fleet/Day.h"

#include <gtest/gtest.h>

namespace vellora::fleet {
namespace {

TEST(DayTest, CountsEachRequestAtItsSecondWithItsWeight) {
  Day day;
  day.add(3.9, {.requestBytes = 10, .answerBytes = 100, .processor = 0.5}, 2, false);
  day.add(3.1, {.requestBytes = 1, .answerBytes = 2, .processor = 0.25}, 4, true);
  EXPECT_EQ(day.requests()[3], 6);
  EXPECT_EQ(day.refused()[3], 4);
  EXPECT_EQ(day.bytes()[3], 232);
  EXPECT_EQ(day.processor()[3], 2);
  EXPECT_EQ(sum(day.requests()), 6);
}

TEST(DayTest, LeavesOutWhatIsBeforeAndBehindTheDay) {
  Day day;
  day.add(-0.5, {.answerBytes = 1}, 1, false);
  day.add(86400, {.answerBytes = 1}, 1, false);
  EXPECT_EQ(sum(day.requests()), 0);
  EXPECT_EQ(sum(day.bytes()), 0);
}

TEST(DayTest, GivesEachMinuteTheMeanOfItsSeconds) {
  Day::Seconds seconds(120);
  seconds[0] = 30;
  seconds[59] = 30;
  seconds[60] = 6;
  EXPECT_EQ(byMinute(seconds), (Day::Seconds{1, 0.1}));
}

}  // namespace
}  // namespace vellora::fleet
