#include "vellora/Platform/Queues/CallbackGate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>

namespace vellora {
namespace {

TEST(CallbackGateTest, RunsCallbacksUntilItIsClosedAndNoneAfterwards) {
  CallbackGate gate;
  int runs = 0;
  EXPECT_TRUE(gate.run([&] { ++runs; }));
  gate.close();
  EXPECT_FALSE(gate.run([&] { ++runs; }));
  EXPECT_EQ(runs, 1);
}

TEST(CallbackGateTest, ClosingWaitsForTheCallbackThatRunsOnAnotherThread) {
  CallbackGate gate;
  std::latch entered(1);
  std::latch mayEnd(1);
  std::atomic<bool> ended = false;
  std::thread running([&] {
    gate.run([&] {
      entered.count_down();
      mayEnd.wait();
      ended = true;
    });
  });
  entered.wait();
  std::thread ending([&] { mayEnd.count_down(); });
  gate.close();
  EXPECT_TRUE(ended);
  running.join();
  ending.join();
}

TEST(CallbackGateTest, ACallbackThatClosesItDoesNotWaitForItself) {
  CallbackGate gate;
  bool closed = false;
  gate.run([&] {
    gate.run([&] { gate.close(); });
    closed = true;
  });
  EXPECT_TRUE(closed);
  EXPECT_FALSE(gate.run([] {}));
}

TEST(CallbackGateTest, ACallbackThatIsRefusedChangesNothingAboutWhoIsInside) {
  CallbackGate gate;
  gate.run([&] {
    gate.close();
    EXPECT_FALSE(gate.run([] {}));
    EXPECT_TRUE(gate.isInside());
  });
  EXPECT_FALSE(gate.run([] {}));
  EXPECT_FALSE(gate.isInside());
}

TEST(CallbackGateTest, IsInsideTheOuterOfTwoCallbacksWhenTheInnerHasEnded) {
  CallbackGate gate;
  gate.run([&] {
    gate.run([] {});
    EXPECT_TRUE(gate.isInside());
  });
}

TEST(CallbackGateTest, KnowsWhoIsInsideInWhateverOrderTheyLeave) {
  CallbackGate gate;
  std::latch entered(1);
  std::latch mayEnd(1);
  std::thread lasting;
  gate.run([&] {
    gate.run([&] {
      lasting = std::thread([&] {
        gate.run([&] {
          entered.count_down();
          mayEnd.wait();
          EXPECT_TRUE(gate.isInside());
        });
      });
      entered.wait();
    });
    EXPECT_TRUE(gate.isInside());
  });
  EXPECT_FALSE(gate.isInside());
  mayEnd.count_down();
  lasting.join();
}

TEST(CallbackGateTest, KnowsWhoIsInside) {
  CallbackGate gate;
  EXPECT_FALSE(gate.isInside());
  gate.run([&] {
    EXPECT_TRUE(gate.isInside());
    std::thread([&] { EXPECT_FALSE(gate.isInside()); }).join();
  });
  EXPECT_FALSE(gate.isInside());
}

TEST(CallbackGateTest, SaysWhetherItIsClosed) {
  CallbackGate gate;
  EXPECT_FALSE(gate.isClosed());
  gate.close();
  EXPECT_TRUE(gate.isClosed());
}

}  // namespace
}  // namespace vellora
