#include "bench/fleet/Outcome.h"

#include <gtest/gtest.h>

namespace vellora::fleet {
namespace {

Outcome sample() {
  Day day;
  day.add(30, {.requestBytes = 1, .answerBytes = 5, .processor = 0.5}, 60, false);
  day.add(31, {.requestBytes = 1, .answerBytes = 5, .processor = 0.5}, 60, false);
  day.add(7200, {.requestBytes = 1, .answerBytes = 2, .processor = 0.25}, 60, true);
  return Outcome::of(day);
}

TEST(OutcomeTest, HasTheMeansOfTheBusiestMinute) {
  const auto outcome = sample();
  EXPECT_DOUBLE_EQ(outcome.mostRequests(), 2);
  EXPECT_DOUBLE_EQ(outcome.mostRefused(), 1);
  EXPECT_DOUBLE_EQ(outcome.mostBytes(), 12);
  EXPECT_DOUBLE_EQ(outcome.mostProcessor(), 1);
}

TEST(OutcomeTest, HasTheSumsOfTheDay) {
  const auto outcome = sample();
  EXPECT_EQ(outcome.allRequests, 180);
  EXPECT_EQ(outcome.allRefused, 60);
  EXPECT_EQ(outcome.allBytes, 900);
  EXPECT_EQ(outcome.allProcessor, 75);
}

TEST(OutcomeTest, CountsTheMinutesUntilNobodyIsRefused) {
  const auto outcome = sample();
  EXPECT_EQ(outcome.minutesOfRefusalFrom(7200), 1);
  EXPECT_EQ(outcome.minutesOfRefusalFrom(3600), 61);
  EXPECT_EQ(outcome.minutesOfRefusalFrom(7260), 0);
}

}  // namespace
}  // namespace vellora::fleet
