#include "hostkit/cache/redis/LeaseWait.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string_view>

namespace vellora::hostkit::tests {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class LeaseWaitTest : public testing::Test {
 protected:
  static LeaseWait wait(double share) { return {start, 60, seconds(10), share}; }

  static constexpr LeaseWait::Moment start{};
};

TEST_F(LeaseWaitTest, RandomBytesMakeAShareOfOneAtMost) {
  EXPECT_EQ(LeaseWait::shareOf(std::string_view("\0\0", 2)), 1 / 65536.0);
  EXPECT_EQ(LeaseWait::shareOf("\x40\x7F of many"), 0.251953125);
  EXPECT_EQ(LeaseWait::shareOf("\xFF\xFF"), 1);
}

TEST_F(LeaseWaitTest, WithoutRandomBytesTheShareIsWhole) {
  EXPECT_EQ(LeaseWait::shareOf(""), 1);
  EXPECT_EQ(LeaseWait::shareOf("a"), 1);
}

TEST_F(LeaseWaitTest, EndsAtHalfOfTheTimeOutOrAFifthOfThatEarlier) {
  EXPECT_FALSE(wait(0).isOver(start + seconds(29)));
  EXPECT_TRUE(wait(0).isOver(start + seconds(30)));
  EXPECT_FALSE(wait(1).isOver(start + seconds(23)));
  EXPECT_TRUE(wait(1).isOver(start + seconds(25)));
}

TEST_F(LeaseWaitTest, EndsAtOnceWhenNothingWasEverKnown) {
  auto first = wait(1);
  first.noteFailure(start);
  EXPECT_TRUE(first.isOver(start));
}

TEST_F(LeaseWaitTest, WhoeverKnewOfAHolderWaitsForAShareOfTheLease) {
  auto early = wait(0.25);
  auto late = wait(0.9);
  for (LeaseWait* each : {&early, &late}) {
    each->noteHolder();
    each->noteFailure(start + seconds(5));
    each->noteFailure(start + seconds(6));
    EXPECT_FALSE(each->isOver(start + seconds(6)));
  }
  EXPECT_FALSE(early.isOver(start + milliseconds(7499)));
  EXPECT_TRUE(early.isOver(start + milliseconds(7500)));
  EXPECT_FALSE(late.isOver(start + milliseconds(7500)));
  EXPECT_TRUE(late.isOver(start + seconds(15)));
}

TEST_F(LeaseWaitTest, AFailureThatPassedIsForgotten) {
  auto patient = wait(0.2);
  patient.noteHolder();
  patient.noteFailure(start);
  patient.noteHolder();
  EXPECT_FALSE(patient.isOver(start + seconds(20)));
}

}  // namespace
}  // namespace vellora::hostkit::tests
