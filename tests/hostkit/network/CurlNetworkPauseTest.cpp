#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <string>
#include <utility>
#include <vector>

#include "tests/hostkit/network/CurlNetworkFixture.h"

namespace vellora::hostkit {
namespace {

using tests::NetworkAnswer;
using tests::ScriptedServer;

/// A network that leaves a server alone that refuses.
class CurlNetworkPauseTest : public CurlNetworkFixture {
 protected:
  CurlNetworkPauseTest() { remake({.server = server.url(), .pausesWhenRefused = true}); }

  static ScriptedServer::Reply refusal(const std::string& status) {
    return ScriptedServer::http(status, "", {"Retry-After: 1000"});
  }

  /// Expects `answer` to be that of a request that was not sent.
  void expectHeldBack(const NetworkAnswer& answer, int status) {
    expectError(answer, Kind::errorStatus);
    const auto* error = answer.errorAs<CurlNetworkError>();
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->statusCode, status);
    ASSERT_TRUE(error->retryAfter);
    EXPECT_GT(error->retryAfter->count(), 500) << "shorter than the server wants";
    EXPECT_LE(error->retryAfter->count(), 1000);
    EXPECT_THAT(error->text, testing::MatchesRegex("/[a-z]+ is not sent, since the server wants to be left "
                                                   "alone for another [0-9]+ s \\([0-9]+\\)"));
    EXPECT_EQ(error->retryAdvice(), RetryAdvice{error->retryAfter});
  }
};

TEST_F(CurlNetworkPauseTest, NothingIsSentToAServerThatWantsToBeLeftAlone) {
  for (const std::string status : {"503 Service Unavailable", "429 Too Many Requests"}) {
    remake({.server = server.url(), .pausesWhenRefused = true});
    server.reply(refusal(status));
    EXPECT_EQ(ask("/theme").error->localizedDescription().substr(0, 14), status.substr(0, 3) + " for /theme");
    const auto sent = server.requests().size();
    expectHeldBack(ask("/theme"), std::stoi(status));
    expectHeldBack(ask("/sobjects"), std::stoi(status));
    EXPECT_EQ(server.requests().size(), sent);
  }
}

TEST_F(CurlNetworkPauseTest, OtherFailuresHoldNothingBack) {
  for (const std::string status : {"500 Broken", "404 Not Found", "502 Bad Gateway"}) {
    server.reply(refusal(status));
    server.reply(ScriptedServer::http("200 OK", "right"));
    expectError(ask("/theme"), Kind::errorStatus);
    EXPECT_EQ(ask("/theme").body(), "right");
  }
}

TEST_F(CurlNetworkPauseTest, WhatWaitsToBeSentIsHeldBackAsWell) {
  std::vector<std::future<NetworkAnswer>> underWay;
  for (int number = 0; number < 8; ++number) {
    underWay.push_back(tests::send(*network, tests::get("/busy?n=" + std::to_string(number))));
  }
  ASSERT_TRUE(server.waitForRequests(8));
  auto waiting = tests::send(*network, tests::get("/waits"));
  server.push(refusal("503 Busy").bytes);
  expectHeldBack(waiting.get(), 503);
  EXPECT_EQ(server.requests().size(), 8U);
}

TEST_F(CurlNetworkPauseTest, WhatIsHeldBackTakesNoPlaceAmongThoseThatWait) {
  remake({.server = server.url(), .maxWaiting = 1, .pausesWhenRefused = true});
  server.reply(refusal("503 Busy"));
  expectError(ask("/theme"), Kind::errorStatus);
  for (int time = 0; time < 3; ++time) expectHeldBack(ask("/theme"), 503);
}

TEST_F(CurlNetworkPauseTest, TurnedOffEachRequestIsSent) {
  remake({.server = server.url()});
  server.reply(refusal("503 Busy"));
  server.reply(ScriptedServer::http("200 OK", "right"));
  expectError(ask("/theme"), Kind::errorStatus);
  EXPECT_EQ(ask("/theme").body(), "right");
}

// The head comes, its body does not. How soon the head comes is up to the machine: until it is in time.
TEST_F(CurlNetworkPauseTest, ARefusalThatOnlyTheTimeEndsCountsAsWell) {
  server.replyAlways({"HTTP/1.1 503 Busy\r\nRetry-After: 1000\r\nContent-Length: 10\r\n\r\nhalf"});
  double timeout = 0.1;
  NetworkAnswer answer = ask("/theme", timeout);
  while (answer.errorAs<CurlNetworkError>()->kind == Kind::timedOut && timeout < 1000) {
    answer = ask("/theme", timeout *= 2);
  }
  EXPECT_EQ(answer.errorAs<CurlNetworkError>()->statusCode, 503);
  const auto sent = server.requests().size();
  expectHeldBack(ask("/theme", 60), 503);
  EXPECT_EQ(server.requests().size(), sent);
}

}  // namespace
}  // namespace vellora::hostkit
