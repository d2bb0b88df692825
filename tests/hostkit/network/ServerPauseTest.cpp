#include "hostkit/network/ServerPause.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>

namespace vellora::hostkit {
namespace {

using namespace std::chrono_literals;
using Seconds = ServerPause::Seconds;

class ServerPauseTest : public testing::Test {
 protected:
  /// Has a request of now answered at once.
  void answer(int status, std::optional<Seconds> retryAfter = std::nullopt) {
    pause.note(status, retryAfter, now, now);
  }

  /// For how long nothing is sent; 0 when it is.
  [[nodiscard]] double left() const {
    const auto refusal = pause.refusalAt(now);
    return refusal ? refusal->left.count() : 0;
  }

  void pass(Seconds time) { now += std::chrono::duration_cast<ServerPause::Clock::duration>(time); }

  ServerPause pause;
  ServerPause::Clock::time_point now{1h};
};

TEST_F(ServerPauseTest, NothingIsHeldBackWhileTheServerAnswers) {
  for (const int status : {200, 204, 304, 400, 401, 404, 500, 502, 504, 0}) {
    answer(status);
    EXPECT_EQ(left(), 0) << status;
  }
}

TEST_F(ServerPauseTest, ObeysTheTimeThatTheServerAsksFor) {
  answer(503, 17s);
  ASSERT_TRUE(pause.refusalAt(now));
  EXPECT_EQ(pause.refusalAt(now)->statusCode, 503);
  EXPECT_EQ(left(), 17);
  pass(16.5s);
  EXPECT_EQ(left(), 0.5);
  pass(0.5s);
  EXPECT_FALSE(pause.refusalAt(now));
}

TEST_F(ServerPauseTest, TooManyRequestsAreARefusalToo) {
  answer(429, 3s);
  EXPECT_EQ(left(), 3);
  EXPECT_EQ(pause.refusalAt(now)->statusCode, 429);
}

TEST_F(ServerPauseTest, IsNoLongerThanAnHourHoweverLongTheServerAsksFor) {
  answer(503, Seconds(4e9));
  EXPECT_EQ(left(), 3600);
}

TEST_F(ServerPauseTest, NoTimeAtAllIsNoPause) {
  answer(503, 0s);
  EXPECT_EQ(left(), 0);
}

TEST_F(ServerPauseTest, AShorterTimeDoesNotEndALongerOne) {
  answer(503, 17s);
  answer(503, 1s);
  EXPECT_EQ(left(), 17);
}

TEST_F(ServerPauseTest, DoublesWithEachRefusalThatSaysNoTimeUpToFiveMinutes) {
  for (const double expected :
       {0.25, 0.5, 1.0, 2.0, 4.0, 8.0, 16.0, 32.0, 64.0, 128.0, 256.0, 300.0, 300.0}) {
    answer(503);
    EXPECT_EQ(left(), expected);
    pass(Seconds(expected));
  }
  for (int more = 0; more < 100; ++more) {
    pass(300s);
    answer(503);
    EXPECT_EQ(left(), 300);
  }
}

TEST_F(ServerPauseTest, ASuccessBeginsThemAnew) {
  for (const int success : {200, 304}) {
    answer(503);
    pass(1s);
    answer(503);
    pass(1s);
    answer(success);
    answer(503);
    EXPECT_EQ(left(), 0.25);
    pass(1s);
    answer(success);
  }
}

TEST_F(ServerPauseTest, RefusalsOfWhatWasUnderWayTogetherCountAsOne) {
  const auto sent = now;
  pass(1s);
  for (int request = 0; request < 8; ++request) pause.note(503, std::nullopt, sent, now);
  EXPECT_EQ(left(), 0.25);
}

TEST_F(ServerPauseTest, RefusalsOfOneMomentCountAsOne) {
  for (int request = 0; request < 8; ++request) answer(503);
  EXPECT_EQ(left(), 0.25);
}

TEST_F(ServerPauseTest, WhatWasUnderWayMayStillSayForHowLong) {
  const auto sent = now;
  pass(1s);
  pause.note(503, std::nullopt, sent, now);
  pause.note(503, 9s, sent, now);
  EXPECT_EQ(left(), 9);
}

}  // namespace
}  // namespace vellora::hostkit
