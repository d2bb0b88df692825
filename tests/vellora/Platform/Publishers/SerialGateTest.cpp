#include "vellora/Platform/Publishers/SerialGate.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <utility>
#include <vector>

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(SerialGateTest, RunsAnActionAtOnceWhenNobodyIsInside) {
  SerialGate gate;
  int ran = 0;
  gate.run([&] { ++ran; });
  EXPECT_EQ(ran, 1);
}

TEST(SerialGateTest, AnActionFromInsideAnotherRunsBehindIt) {
  SerialGate gate;
  std::vector<int> order;
  gate.run([&] {
    gate.run([&] { order.push_back(2); });
    order.push_back(1);
  });
  EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST(SerialGateTest, EnqueuedActionsWaitForTheDrain) {
  SerialGate gate;
  std::vector<int> order;
  gate.enqueue([&] { order.push_back(1); });
  EXPECT_THAT(order, IsEmpty());
  gate.run([&] { order.push_back(2); });
  EXPECT_THAT(order, ElementsAre(1, 2));
  gate.drain();
  EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST(SerialGateTest, WhatAnActionCapturedGoesBeforeTheNextOneRuns) {
  SerialGate gate;
  auto held = std::make_shared<int>(0);
  const std::weak_ptr<int> weak = held;
  bool isGone = false;
  gate.enqueue([kept = std::move(held)] {});
  gate.enqueue([&] { isGone = weak.expired(); });
  gate.drain();
  EXPECT_TRUE(isGone);
}

TEST(SerialGateTest, ActionsOfSeveralThreadsNeverOverlap) {
  SerialGate gate;
  int count = 0;
  const auto add = [&] {
    for (int i = 0; i < 1000; ++i) gate.run([&] { ++count; });
  };
  {
    std::thread one(add);
    std::thread other(add);
    one.join();
    other.join();
  }
  EXPECT_EQ(count, 2000);
}

TEST(SerialGateTest, TryingRunsAnActionOrNothing) {
  SerialGate gate;
  std::vector<int> order;
  EXPECT_TRUE(gate.tryRun([&] {
    EXPECT_FALSE(gate.tryRun([&] { order.push_back(9); })) << "somebody is inside";
    gate.run([&] { order.push_back(2); });
    order.push_back(1);
  }));
  EXPECT_THAT(order, ElementsAre(1, 2)) << "also what was left meanwhile";
  gate.enqueue([&] { order.push_back(3); });
  EXPECT_FALSE(gate.tryRun([&] { order.push_back(9); })) << "somebody waits";
  gate.drain();
  EXPECT_TRUE(gate.tryRun([&] { order.push_back(4); }));
  EXPECT_THAT(order, ElementsAre(1, 2, 3, 4));
}

}  // namespace
}  // namespace vellora
