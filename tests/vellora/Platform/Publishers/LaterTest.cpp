#include "vellora/Platform/Publishers/Later.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>

#include "testkit/ManualTimer.h"

namespace vellora {
namespace {

using namespace std::chrono_literals;

class LaterTest : public testing::Test {
 protected:
  [[nodiscard]] AnyCancellable start() {
    return later(timer, 2s).sink([this](std::monostate) { ++values; },
                                 [this](const Completion& error) {
                                   EXPECT_FALSE(error);
                                   ++ends;
                                 });
  }

  const std::shared_ptr<testkit::ManualTimer> timer = std::make_shared<testkit::ManualTimer>();
  int values = 0;
  int ends = 0;
};

TEST_F(LaterTest, YieldsOnceWhenItsTimeHasComeThenEnds) {
  const auto token = start();
  timer->advance(1s);
  EXPECT_EQ(values, 0);
  timer->advance(1s);
  EXPECT_EQ(values, 1);
  EXPECT_EQ(ends, 1);
}

TEST_F(LaterTest, CancellingTakesTheWorkOffTheTimer) {
  auto token = start();
  EXPECT_EQ(timer->pending(), 1U);
  token.cancel();
  EXPECT_EQ(timer->pending(), 0U);
  timer->advance(2s);
  EXPECT_EQ(values + ends, 0);
}

TEST_F(LaterTest, EachSubscriptionWaitsForItself) {
  const auto first = start();
  timer->advance(1s);
  const auto second = start();
  timer->advance(1s);
  EXPECT_EQ(values, 1);
  timer->advance(1s);
  EXPECT_EQ(values, 2);
}

}  // namespace
}  // namespace vellora
