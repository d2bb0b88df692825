#include "bench/fleet/Fleet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "bench/fleet/Outcome.h"

namespace vellora::fleet {
namespace {

constexpr double hour = secondsOfHour;
constexpr double wholeList = 1000;
constexpr double packedList = 100;
constexpr double wordOfUnchanged = 10;

const Costs fleetCosts{{Cost{0, wholeList, 0.01}, Cost{0, wholeList, 0.01}},
                       {Cost{0, packedList, 0.02}, Cost{0, packedList, 0.02}},
                       {Cost{0, wordOfUnchanged, 0.001}, Cost{0, wordOfUnchanged, 0.001}},
                       Cost{0, 1, 0.001}};

Outcome outcomeOf(const Scenario& scenario) {
  return Outcome::of(scenario, fleetCosts);
}

/// Machines that always run, and have empty caches at midnight.
Scenario machines(double count) {
  return {.apps = count, .shareOfMachines = 1, .daysBefore = 0, .beginsFilled = false};
}

double requestsBetween(const Outcome& outcome, double from, double to) {
  double sum = 0;
  for (auto minute = static_cast<std::size_t>(from / 60); minute < static_cast<std::size_t>(to / 60);
       ++minute)
    sum += outcome.requests[minute] * 60;
  return sum;
}

TEST(FleetTest, FetchesBothListsAtTheFirstStartAndNeverWhileTheyAreFresh) {
  auto scenario = machines(10);
  scenario.timeout = 2 * secondsOfDay;
  const auto outcome = outcomeOf(scenario);
  EXPECT_EQ(outcome.allRequests, 20);
  EXPECT_EQ(requestsBetween(outcome, 0, 120), 20);
  EXPECT_EQ(outcome.allBytes, 20 * wholeList);
}

TEST(FleetTest, FetchesBothListsAgainAtTheFirstQuestionBehindTheTimeout) {
  auto scenario = machines(10);
  scenario.meanGapOfMachines = 0.001;
  const auto outcome = outcomeOf(scenario);
  EXPECT_EQ(requestsBetween(outcome, 0, 3600), 20);
  EXPECT_EQ(requestsBetween(outcome, 3600, 3660), 20);
  EXPECT_EQ(outcome.allRequests, 24 * 20);
}

TEST(FleetTest, OfAppsThatDontRunFetchesNothing) {
  Scenario scenario{.apps = 100, .shareOfMachines = 0, .daysBefore = 0, .beginsFilled = false};
  scenario.usage.starts = {};
  scenario.usage.starts[8] = 1;
  scenario.usage.startsPerDay = 100;  // in that hour, so that each starts
  scenario.usage.meanRun = 10;
  scenario.timeout = secondsOfDay;
  const auto outcome = outcomeOf(scenario);
  EXPECT_NEAR(outcome.allRequests, requestsBetween(outcome, 8 * hour, 9 * hour), 0.01);
  EXPECT_NEAR(outcome.allRequests, 200, 2);
}

TEST(FleetTest, SendsARefusedRequestFourTimesAndThenAtTheNextQuestion) {
  auto scenario = machines(10);
  scenario.outage = Span{0, secondsOfDay};
  scenario.meanGapOfMachines = 1e9;
  EXPECT_EQ(outcomeOf(scenario).allRequests, 10 * 2 * 4);
  scenario.retry.attempts = 1;
  EXPECT_EQ(outcomeOf(scenario).allRequests, 10 * 2);
  scenario.meanGapOfMachines = 60;
  EXPECT_NEAR(outcomeOf(scenario).allRequests, 10 * 2 * 1440, 1000);
}

TEST(FleetTest, SendsNothingAgainThatTheServerWantsToWaitBeyondTheDeadline) {
  auto scenario = machines(10);
  scenario.outage = Span{0, secondsOfDay};
  scenario.meanGapOfMachines = 1e9;
  scenario.retryAfter = 60;
  EXPECT_EQ(outcomeOf(scenario).allRequests, 10 * 2);
  scenario.retryAfter = 3;
  EXPECT_EQ(outcomeOf(scenario).allRequests,
            10 * 2 * 3);  // the fourth time would be at its earliest behind 10.75 s
}

TEST(FleetTest, BackingOffSendsAHandfulOfRequestsInAnHourOfOutage) {
  auto scenario = machines(10);
  scenario.outage = Span{0, hour};
  const auto without = requestsBetween(outcomeOf(scenario), 0, hour);
  scenario.manners.backsOff = true;
  const auto outcome = outcomeOf(scenario);
  EXPECT_GT(without, 10 * 2 * 500);
  EXPECT_LT(requestsBetween(outcome, 0, hour), 10 * 2 * 40);
  EXPECT_GE(requestsBetween(outcome, hour, hour + 600), 20);  // it comes back by itself
}

TEST(FleetTest, AsksOnConditionForWhatItHasAlone) {
  auto scenario = machines(10);
  scenario.meanGapOfMachines = 0.001;
  scenario.manners.conditional = true;
  EXPECT_EQ(outcomeOf(scenario).allBytes, 20 * wholeList + 23 * 20 * wordOfUnchanged);
}

TEST(FleetTest, AsksForTheWholeListSevenDaysAfterItCameHoweverOftenItWasConfirmed) {
  auto scenario = machines(10);
  scenario.meanGapOfMachines = 0.001;
  scenario.manners.conditional = true;
  scenario.daysBefore = 6;
  EXPECT_EQ(outcomeOf(scenario).allBytes, 24 * 20 * wordOfUnchanged);
  scenario.daysBefore = 7;
  EXPECT_EQ(outcomeOf(scenario).allBytes, 20 * wholeList + 23 * 20 * wordOfUnchanged);
}

TEST(FleetTest, FetchesPackedListsWhereTheServerPacksThem) {
  auto scenario = machines(10);
  scenario.meanGapOfMachines = 0.001;
  scenario.manners = {.conditional = true, .packed = true};
  EXPECT_EQ(outcomeOf(scenario).allBytes, 20 * packedList + 23 * 20 * wordOfUnchanged);
}

TEST(FleetTest, AReleaseEmptiesTheCachesOfRunningAppsWithinMinutes) {
  auto scenario = machines(10);
  scenario.timeout = 2 * secondsOfDay;
  scenario.manners.conditional = true;
  scenario.release = 10 * hour;
  const auto outcome = outcomeOf(scenario);
  EXPECT_EQ(outcome.allRequests, 40);
  EXPECT_EQ(requestsBetween(outcome, 10 * hour, 10 * hour + 360), 20);
  EXPECT_EQ(outcome.allBytes, 40 * wholeList);
}

TEST(FleetTest, AReleaseEmptiesTheCachesOfOtherAppsAtTheirNextStartAlone) {
  Scenario scenario{.apps = 200, .shareOfMachines = 0, .timeout = 9 * secondsOfDay};
  scenario.usage.starts = {};
  scenario.usage.starts[12] = 1;
  scenario.usage.startsPerDay = 100;
  scenario.release = 10 * hour;
  const auto outcome = outcomeOf(scenario);
  EXPECT_NEAR(outcome.allRequests, requestsBetween(outcome, 12 * hour, 13 * hour), 0.01);
  EXPECT_NEAR(outcome.allRequests, 400, 4);
}

TEST(FleetTest, MachinesThatShareACacheFetchOnceForAllOfThem) {
  auto scenario = machines(80);
  scenario.meanGapOfMachines = 0.001;
  EXPECT_EQ(outcomeOf(scenario).allRequests, 80 * 2 * 24);
  scenario.manners.shares = true;
  EXPECT_EQ(outcomeOf(scenario).allRequests, 10 * 2 * 24);
}

TEST(FleetTest, MachinesThatShareACacheEachAskARefusingServerWhenTheirTurnComes) {
  auto scenario = machines(80);
  scenario.meanGapOfMachines = 1e9;
  scenario.outage = Span{0, secondsOfDay};
  scenario.retry.attempts = 1;
  scenario.manners.shares = true;
  const auto outcome = outcomeOf(scenario);
  EXPECT_EQ(outcome.allRequests, 80 * 2);
  EXPECT_EQ(outcome.allRefused, 80 * 2);
}

TEST(FleetTest, MachinesThatShareACacheFillTheOneOfANewVersionOnce) {
  auto scenario = machines(80);
  scenario.timeout = 2 * secondsOfDay;
  scenario.release = 10 * hour;
  scenario.manners.shares = true;
  EXPECT_EQ(outcomeOf(scenario).allRequests, 10 * 2 + 10 * 2);
}

TEST(FleetTest, SpreadTimeoutsTakeApartWhatAReleaseHasBroughtTogether) {
  auto scenario = machines(1000);
  scenario.release = 10 * hour;
  const auto exact = outcomeOf(scenario);
  scenario.manners.spread = true;
  const auto spread = outcomeOf(scenario);
  const auto most = [](const Outcome& outcome) {  // of the minutes from three to four
    return *std::max_element(outcome.requests.begin() + 900, outcome.requests.begin() + 960);
  };
  EXPECT_GT(most(exact), 3 * most(spread));
}

class FleetCourseTest : public testing::TestWithParam<int> {
 protected:
  /// Ten thousand apps, an ordinary day, or one with a release, or one with an outage.
  static Scenario scenario() {
    Scenario scenario{.apps = 10'000};
    if (GetParam() == 1) scenario.release = 10 * hour;
    if (GetParam() == 2) scenario.outage = Span{11 * hour, 12 * hour};
    return scenario;
  }
};

TEST_P(FleetCourseTest, AnswersEachRequestOnce) {
  auto whole = scenario();
  whole.apps = 1000;
  whole.shareOfMachines = 0;
  whole.usage.starts[22] = whole.usage.starts[23] = 0;  // so that nothing is under way at midnight
  Fleet fleet(whole, fleetCosts);
  fleet.run();
  EXPECT_GT(fleet.sent(), 8000U);
  EXPECT_EQ(fleet.answered(), fleet.sent());
}

TEST_P(FleetCourseTest, IsTheSameForTheSameSeed) {
  auto seeded = scenario();
  seeded.apps = 500;
  const auto first = outcomeOf(seeded);
  EXPECT_EQ(first.requests, outcomeOf(seeded).requests);
  seeded.seed = 2;
  EXPECT_NE(first.requests, outcomeOf(seeded).requests);
}

TEST_P(FleetCourseTest, CostsWithAgentsOfTenAppsOnAverageWhatSingleOnesCost) {
  constexpr int days = 4;  // few agents leave much to chance
  auto weighted = scenario();
  const auto single = outcomeOf(weighted);
  weighted.mostAgents = 1000;
  ASSERT_EQ(Fleet(weighted, fleetCosts).weight(), 10);
  Outcome heavy;
  for (int day = 1; day <= days; ++day) {
    weighted.seed = static_cast<std::uint64_t>(day);
    const auto outcome = outcomeOf(weighted);
    heavy.allRequests += outcome.allRequests / days;
    heavy.allBytes += outcome.allBytes / days;
    heavy.allProcessor += outcome.allProcessor / days;
  }
  EXPECT_NEAR(heavy.allRequests / single.allRequests, 1, 0.05);
  EXPECT_NEAR(heavy.allBytes / single.allBytes, 1, 0.05);
  EXPECT_NEAR(heavy.allProcessor / single.allProcessor, 1, 0.05);
}

INSTANTIATE_TEST_SUITE_P(OrdinaryReleaseOutage, FleetCourseTest, testing::Values(0, 1, 2));

TEST(FleetTest, TellsOfEachStartWithItsMomentAndAgent) {
  std::vector<std::size_t> agents;
  double last = 0;
  auto scenario = machines(3);
  scenario.release = hour;
  Fleet fleet(scenario, fleetCosts, [&](double time, std::size_t agent) {
    EXPECT_GE(time, last);
    last = time;
    agents.push_back(agent);
  });
  fleet.run();
  EXPECT_EQ(agents.size(), 6U);
  EXPECT_GE(last, hour);
}

TEST(FleetTest, KeepsAnOverloadedServerBusyUntilItHasServedEverybody) {
  auto scenario = machines(1000);
  scenario.timeout = 2 * secondsOfDay;
  scenario.capacity.processors = 0.5;  // 50 lists each second
  Fleet fleet(scenario, fleetCosts);
  const auto outcome = Outcome::of(fleet.run());
  EXPECT_GT(outcome.allRefused, 0);
  EXPECT_EQ(outcome.allRequests - outcome.allRefused, 2000);
}

}  // namespace
}  // namespace vellora::fleet
