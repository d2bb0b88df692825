#include "apps/records-server/FaultPlan.h"

#include <gtest/gtest.h>

namespace vellora::recordsserver {
namespace {

const Fault right{};

TEST(FaultPlanTest, HasNoFaultsAtFirst) {
  FaultPlan plan;
  EXPECT_EQ(plan.take("/a"), right);
}

TEST(FaultPlanTest, ComparesAPatternWithThePath) {
  FaultPlan plan;
  plan.set("/a", Fault::drop(), std::nullopt);
  EXPECT_EQ(plan.take("/a"), Fault::drop());
  EXPECT_EQ(plan.take("/a?q=1"), Fault::drop());
  EXPECT_EQ(plan.take("/ab"), right);
  EXPECT_EQ(plan.take("/"), right);
}

TEST(FaultPlanTest, ComparesAPatternWithAQuestionMarkWithTheWholeTarget) {
  FaultPlan plan;
  plan.set("/a?q=*Case*", Fault::drop(), std::nullopt);
  EXPECT_EQ(plan.take("/a?q=Account,Case"), Fault::drop());
  EXPECT_EQ(plan.take("/a?q=Account"), right);
  EXPECT_EQ(plan.take("/a"), right);
}

TEST(FaultPlanTest, LetsAStarStandForAnyText) {
  FaultPlan plan;
  plan.set("*/query", Fault::empty(), std::nullopt);
  plan.set("/services/*/v53.0/*", Fault::drop(), std::nullopt);
  EXPECT_EQ(plan.take("/services/data/v50.0/query"), Fault::empty());
  EXPECT_EQ(plan.take("/services/data/v53.0/compactLayouts?q="), Fault::drop());
  EXPECT_EQ(plan.take("/services/data/v53.0/query?q="), Fault::drop());
  EXPECT_EQ(plan.take("/services/data/v50.0/queryAll"), right);
}

TEST(FaultPlanTest, UsesUpACount) {
  FaultPlan plan;
  plan.set("*", Fault::fail(503), 2);
  EXPECT_EQ(plan.take("/a"), Fault::fail(503));
  EXPECT_EQ(plan.take("/b"), Fault::fail(503));
  EXPECT_EQ(plan.take("/c"), right);
}

TEST(FaultPlanTest, PrefersWhatWasSetLastAndFallsBackOnTheRest) {
  FaultPlan plan;
  plan.set("*", Fault::fail(500), std::nullopt);
  plan.set("/a", Fault::fail(503), 1);
  EXPECT_EQ(plan.take("/a"), Fault::fail(503));
  EXPECT_EQ(plan.take("/a"), Fault::fail(500));
}

TEST(FaultPlanTest, ReplacesTheFaultOfAPattern) {
  FaultPlan plan;
  plan.set("*", Fault::drop(), std::nullopt);
  plan.set("*", Fault::empty(), 1);
  EXPECT_EQ(plan.take("/a"), Fault::empty());
  EXPECT_EQ(plan.take("/a"), right);
}

TEST(FaultPlanTest, TakesACountOfZeroForNoFault) {
  FaultPlan plan;
  plan.set("*", Fault::drop(), std::nullopt);
  plan.set("*", Fault::drop(), 0);
  EXPECT_EQ(plan.take("/a"), right);
}

TEST(FaultPlanTest, ForgetsEverythingWhenCleared) {
  FaultPlan plan;
  plan.set("*", Fault::drop(), std::nullopt);
  plan.clear();
  EXPECT_EQ(plan.take("/a"), right);
}

}  // namespace
}  // namespace vellora::recordsserver
