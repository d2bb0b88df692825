#include "vellora/Platform/Publishers/SubscriptionScope.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace vellora {
namespace {

using testing::ElementsAre;

TEST(SubscriptionScopeTest, EndsOnceAndRunsTeardownsInTheirOrder) {
  const SubscriptionScope scope;
  std::vector<int> ran;
  scope.add([&] { ran.push_back(1); });
  scope.add([&] { ran.push_back(2); });
  EXPECT_TRUE(scope.isActive());
  EXPECT_TRUE(scope.end());
  EXPECT_FALSE(scope.end());
  EXPECT_FALSE(scope.isActive());
  EXPECT_THAT(ran, ElementsAre(1, 2));
}

TEST(SubscriptionScopeTest, ATeardownAddedAfterTheEndRunsAtOnce) {
  const SubscriptionScope scope;
  scope.end();
  int ran = 0;
  scope.add([&] { ++ran; });
  EXPECT_EQ(ran, 1);
}

TEST(SubscriptionScopeTest, ARemovedTeardownDoesNotRun) {
  const SubscriptionScope scope;
  int ran = 0;
  const auto registration = scope.add([&] { ++ran; });
  scope.remove(registration);
  scope.end();
  EXPECT_EQ(ran, 0);
}

TEST(SubscriptionScopeTest, AChildEndsWithItsParentAndMayEndBefore) {
  const SubscriptionScope parent;
  const SubscriptionScope early = parent.child();
  const SubscriptionScope late = parent.child();
  EXPECT_TRUE(early.end());
  EXPECT_TRUE(parent.isActive());
  EXPECT_TRUE(late.isActive());
  parent.end();
  EXPECT_FALSE(late.isActive());
  EXPECT_FALSE(parent.child().isActive());
}

TEST(SubscriptionScopeTest, AnAdoptedScopeEndsWithItsParentAtOnceIfThatHasEnded) {
  const SubscriptionScope parent;
  const SubscriptionScope scope;
  parent.adopt(scope);
  EXPECT_TRUE(scope.isActive());
  parent.end();
  EXPECT_FALSE(scope.isActive());

  const SubscriptionScope late;
  parent.adopt(late);
  EXPECT_FALSE(late.isActive());
}

TEST(SubscriptionScopeTest, AChildThatIsGoneIsForgotten) {
  const SubscriptionScope parent;
  {
    const SubscriptionScope child = parent.child();
    const SubscriptionScope adopted;
    parent.adopt(adopted);
    EXPECT_EQ(parent.size(), 2U);
  }
  EXPECT_EQ(parent.size(), 0U);
}

TEST(SubscriptionScopeTest, WhatARemovedTeardownHeldMayUseTheScopeAsItGoes) {
  const SubscriptionScope scope;
  std::size_t left = 1;
  std::shared_ptr<void> held(nullptr, [&](void*) { left = scope.size(); });
  const auto registration = scope.add([held] {});
  held.reset();
  scope.remove(registration);
  EXPECT_EQ(left, 0U);
}

TEST(SubscriptionScopeTest, ATeardownIsRemovedOnceAndNoOtherWithIt) {
  const SubscriptionScope scope;
  const auto first = scope.add([] {});
  scope.add([] {});
  scope.remove(first);
  scope.remove(first);
  EXPECT_EQ(scope.size(), 1U);
}

TEST(SubscriptionScopeTest, ATeardownMayEndTheScopeAgain) {
  const SubscriptionScope scope;
  bool again = true;
  scope.add([&] { again = scope.end(); });
  scope.end();
  EXPECT_FALSE(again);
}

}  // namespace
}  // namespace vellora
