#include "bench/fleet/Server.h"

#include <gtest/gtest.h>

namespace vellora::fleet {
namespace {

constexpr Cost servedCost{.requestBytes = 100, .answerBytes = 1000, .processor = 0.5};
constexpr Cost refusalCost{.requestBytes = 100, .answerBytes = 20, .processor = 0.1};

TEST(ServerTest, AnswersAtOnceWhereItHasNoLimits) {
  Server server({}, {}, refusalCost);
  for (int i = 0; i < 1000; ++i) {
    const auto answer = server.take(10, servedCost, 1);
    EXPECT_EQ(answer.time, 10 + Server::travel);
    EXPECT_FALSE(answer.isRefused);
  }
  EXPECT_EQ(server.day().requests()[10], 1000);
}

TEST(ServerTest, AnswersOneAfterTheOtherAsFastAsItsProcessorsAllow) {
  Server server({.processors = 2}, {}, refusalCost);
  EXPECT_DOUBLE_EQ(server.take(10, servedCost, 1).time, 10.25 + Server::travel);
  EXPECT_DOUBLE_EQ(server.take(10, servedCost, 3).time, 11 + Server::travel);
  EXPECT_DOUBLE_EQ(server.take(20, servedCost, 1).time, 20.25 + Server::travel);
}

TEST(ServerTest, AnswersAsFastAsItsLineAllows) {
  Server server({.bandwidth = 500}, {}, refusalCost);
  EXPECT_DOUBLE_EQ(server.take(10, servedCost, 1).time, 12 + Server::travel);
  EXPECT_DOUBLE_EQ(server.take(11, servedCost, 1).time, 14 + Server::travel);
}

TEST(ServerTest, RefusesWhatWouldWaitTooLongWithoutWork) {
  Server server({.processors = 1, .longestWait = 1}, {}, refusalCost);
  for (int i = 0; i < 3; ++i) EXPECT_FALSE(server.take(10, servedCost, 1).isRefused);
  EXPECT_TRUE(server.take(10, servedCost, 1).isRefused);
  EXPECT_EQ(server.day().refused()[10], 1);
  EXPECT_EQ(server.day().bytes()[10], 3 * 1100 + 120);
  EXPECT_DOUBLE_EQ(server.day().processor()[10], 3 * 0.5);
  EXPECT_FALSE(server.take(10.5, servedCost, 1).isRefused);
}

TEST(ServerTest, RefusesEverythingInAnOutageWithoutWork) {
  Server server({}, Span{10, 20}, refusalCost);
  EXPECT_FALSE(server.take(9.9, servedCost, 1).isRefused);
  EXPECT_TRUE(server.take(10, servedCost, 1).isRefused);
  EXPECT_TRUE(server.take(19.9, servedCost, 1).isRefused);
  EXPECT_FALSE(server.take(20, servedCost, 1).isRefused);
  EXPECT_EQ(server.day().processor()[10], 0);
  EXPECT_EQ(server.day().bytes()[10], 120);
}

}  // namespace
}  // namespace vellora::fleet
