#include "bench/fleet/Study.h"

#include <gtest/gtest.h>

#include <sstream>

namespace vellora::fleet {
namespace {

using Course = Study::Course;

constexpr Cost studyCost{100, 1000, 0.01};
const Costs studyCosts{{studyCost, studyCost},
                       {studyCost, studyCost},
                       {Cost{100, 10, 0.001}, Cost{100, 10, 0.001}},
                       {100, 20, 0.001}};

TEST(StudyTest, SimulatesADayOnce) {
  std::ostringstream progress;
  Study study(studyCosts, 1, progress);
  const auto& first = study.outcome({.apps = 100});
  EXPECT_EQ(&first, &study.outcome({.apps = 100}));
  EXPECT_EQ(progress.str(), "ordinary day, 100 apps, time-out of 1 h, none\n");
}

TEST(StudyTest, SwitchesOnWhatTheMannersAreCalled) {
  std::ostringstream progress;
  Study study(studyCosts, 1, progress);
  EXPECT_FALSE(study.scenario({}).manners.backsOff);
  EXPECT_TRUE(study.scenario({.manners = "conditional"}).manners.conditional);
  EXPECT_TRUE(study.scenario({.manners = "spread"}).manners.spread);
  EXPECT_TRUE(study.scenario({.manners = "backing off"}).manners.backsOff);
  EXPECT_TRUE(study.scenario({.manners = "shared cache"}).manners.shares);
  EXPECT_TRUE(study.scenario({.manners = "packed"}).manners.packed);
  EXPECT_TRUE(study.scenario({.manners = "all four"}).manners.conditional);
  EXPECT_FALSE(study.scenario({.manners = "all four"}).manners.packed);
  EXPECT_EQ(study.scenario({.manners = "Retry-After"}).retryAfter, 60);
}

TEST(StudyTest, LimitsTheServerToHalfAsMuchAgainAsAnOrdinaryDayNeeds) {
  std::ostringstream progress;
  Study study(studyCosts, 1, progress);
  const auto limit = study.scenario({.course = Course::outage, .apps = 100, .isLimited = true}).capacity;
  const auto& ordinary = study.outcome({.apps = 100});
  EXPECT_DOUBLE_EQ(limit.processors, 1.5 * ordinary.mostProcessor());
  EXPECT_DOUBLE_EQ(limit.bandwidth, 1.5 * ordinary.mostBytes());
}

TEST(StudyTest, HasTheReleaseSevenDaysBeforeTheDayThatIsAWeekLater) {
  std::ostringstream progress;
  Study study(studyCosts, 1, progress);
  const auto scenario = study.scenario({.course = Course::weekLater});
  EXPECT_EQ(scenario.release, 36'000 - 7 * 86'400);
  EXPECT_EQ(scenario.daysBefore, 8);
}

TEST(StudyTest, HasAReleaseAndAnOutageOnTheDaysThatAreCalledSo) {
  std::ostringstream progress;
  Study study(studyCosts, 1, progress);
  EXPECT_EQ(study.scenario({.course = Course::release}).release, 36'000);
  EXPECT_FALSE(study.scenario({.course = Course::release}).outage);
  EXPECT_TRUE(study.scenario({.course = Course::outage}).outage->contains(39'600));
  EXPECT_FALSE(study.scenario({.course = Course::outage}).outage->contains(43'200));
}

}  // namespace
}  // namespace vellora::fleet
