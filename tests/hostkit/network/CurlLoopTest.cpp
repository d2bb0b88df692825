#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/network/CurlNetwork.h"
#include "tests/hostkit/network/CurlNetworkConditionFixture.h"
#include "tests/hostkit/network/WatchedCache.h"
#include "tests/support/SteppedSleep.h"

namespace vellora::hostkit {
namespace {

using namespace std::chrono_literals;
using tests::NetworkAnswer;
using tests::ScriptedServer;
using tests::SteppedSleep;

/// The network's thread, whose time is stepped: a request's time is up when the test says so.
class CurlLoopTest : public CurlNetworkConditionFixture {
 protected:
  static constexpr std::size_t mostActive = 8;
  static constexpr int callsOfALookUp = 2;
  static constexpr double tenSeconds = 10;
  static constexpr double muchTime = 1000;

  CurlLoopTest() { remake({.server = server.url()}); }

  ~CurlLoopTest() override { network.reset(); }

  /// Has `watch` called with the number of each call of the cache.
  void watchCache(std::function<void(int call)> watch) {
    auto options = keeping();
    options.bodies = std::make_shared<WatchedCache>(host.cache, std::move(watch));
    remake(std::move(options));
  }

  /// The time passes within the call of that number.
  void passTenSecondsAtCall(int number) {
    watchCache([number](int call) {
      if (call == number) SteppedSleep::pass(10s);
    });
  }

  [[nodiscard]] std::future<NetworkAnswer> send(const std::string& path, double timeout) {
    return tests::send(*network, tests::get(path, timeout));
  }

  /// Requests that have got to the server.
  [[nodiscard]] std::vector<std::future<NetworkAnswer>> sendUnanswered(std::size_t count) {
    std::vector<std::future<NetworkAnswer>> sent;
    for (std::size_t i = 0; i < count; ++i) sent.push_back(send("/held", muchTime));
    EXPECT_TRUE(server.waitForRequests(count));
    return sent;
  }

  /// Returns once the thread has looked at every request's time. It answers a request that cannot be sent at
  /// the beginning of a round.
  void letARoundPass() {
    for (int time = 0; time < 2; ++time) expectError(ask("theme"), Kind::invalidRequest);
  }

  /// Answers all that the server has been asked on connections that are open.
  void answerAll() { server.push(answer().bytes); }

  static ScriptedServer::Reply answer() { return ScriptedServer::http("200 OK", "x"); }
  static ScriptedServer::Reply silence() { return {}; }
  static ScriptedServer::Reply redirect() {
    return ScriptedServer::http("302 Found", "", {"Location: /target"});
  }
};

// It is woken once for each of them, and once as it begins.
TEST_F(CurlLoopTest, SleepsUntilARequestComes) {
  constexpr std::size_t requests = 100;
  network.reset();
  const std::size_t before = SteppedSleep::sleeps();
  remake({.server = server.url()});
  for (std::size_t i = 0; i < requests; ++i) expectError(ask("theme"), Kind::invalidRequest);
  network.reset();
  const std::size_t sleeps = SteppedSleep::sleeps() - before;
  EXPECT_GE(sleeps, requests - 1);
  EXPECT_LE(sleeps, requests + 2);
}

TEST_F(CurlLoopTest, WakesByItselfAsLongAsARequestIsUnderWay) {
  const auto underWay = sendUnanswered(1);
  letARoundPass();
  SteppedSleep::waitForSleepers(1);
  EXPECT_EQ(SteppedSleep::untimedSleepers(), 0U);
}

TEST_F(CurlLoopTest, WhatWaitsIsGivenUpWhenNothingHasGotOnForItsTime) {
  const auto underWay = sendUnanswered(mostActive);
  auto waiting = send("/waits", tenSeconds);
  letARoundPass();
  SteppedSleep::pass(10s);
  letARoundPass();
  expectError(waiting.get(), Kind::timedOut);
}

TEST_F(CurlLoopTest, AnAnswerGivesThoseThatWaitTheirTimeAnew) {
  std::promise<void> mayAnswer;
  server.replyBy([&](const auto& request) {
    if (request.target() != "/late") return silence();
    mayAnswer.get_future().wait();
    return answer();
  });
  const auto underWay = sendUnanswered(mostActive - 1);
  auto late = send("/late", muchTime);
  ASSERT_TRUE(server.waitForRequests(mostActive));
  const auto next = send("/next", muchTime);
  auto waiting = send("/waits", tenSeconds);
  letARoundPass();
  SteppedSleep::pass(6s);
  mayAnswer.set_value();
  EXPECT_EQ(late.get().body(), "x");
  SteppedSleep::pass(6s);
  letARoundPass();
  network.reset();
  expectError(waiting.get(), Kind::shutDown);
}

// Six seconds pass when the first one ends, and four more when the first of those ends that had to wait. Then
// the time of those is up that wait still: eight have begun at once, and as many twice behind them. The
// thread comes to them when all are asked.
TEST_F(CurlLoopTest, AConnectionThatIsNotMadeInTimeIsNoProgress) {
  remake({.server = "https://" + server.hostAndPort(), .connectTimeout = 0.1});
  constexpr std::size_t mostThatMayBegin = 3 * mostActive;
  std::promise<void> allAsked;
  std::vector<std::promise<void>> ends(mostThatMayBegin + 1);
  bool hasFirstEnded = false;
  bool hasLaterEnded = false;
  network->sendRequest(tests::get("theme"), [&](auto, auto, auto) { allAsked.get_future().wait(); });
  for (std::size_t i = 0; i < ends.size(); ++i) {
    network->sendRequest(tests::get("/theme", tenSeconds), [&, i](auto, auto, auto) {
      if (!std::exchange(hasFirstEnded, true)) SteppedSleep::pass(6s);
      if (i >= mostActive && !std::exchange(hasLaterEnded, true)) SteppedSleep::pass(4s);
      ends[i].set_value();
    });
  }
  allAsked.set_value();
  for (auto& end : ends) end.get_future().wait();
  network.reset();
  EXPECT_LE(server.connections(), mostThatMayBegin);
}

TEST_F(CurlLoopTest, TheLookUpOfARedirectIsNoneOfItsRequestsTime) {
  passTenSecondsAtCall(1 * callsOfALookUp + 1);
  server.reply(redirect());
  auto redirected = send("/from", tenSeconds);
  ASSERT_TRUE(server.waitForRequests(2));
  letARoundPass();
  answerAll();
  EXPECT_EQ(redirected.get().body(), "x");
}

TEST_F(CurlLoopTest, TheLookUpOfARedirectIsNoneOfTheTimeOfThoseUnderWay) {
  passTenSecondsAtCall(2 * callsOfALookUp + 1);
  server.reply(silence());
  server.reply(redirect());
  auto other = send("/other", tenSeconds);
  ASSERT_TRUE(server.waitForRequests(1));
  auto redirected = send("/from", muchTime);
  ASSERT_TRUE(server.waitForRequests(3));
  letARoundPass();
  answerAll();
  EXPECT_EQ(other.get().body(), "x");
  EXPECT_EQ(redirected.get().body(), "x");
}

TEST_F(CurlLoopTest, TheTimeThatKeepingABodyTakesIsNoneOfTheTimeOfOthers) {
  passTenSecondsAtCall(2 * callsOfALookUp + 1);
  server.reply(silence());
  server.reply(tagged("kept"));
  auto other = send("/other", tenSeconds);
  ASSERT_TRUE(server.waitForRequests(1));
  EXPECT_EQ(ask("/kept", muchTime).body(), "kept");
  letARoundPass();
  answerAll();
  EXPECT_EQ(other.get().body(), "x");
}

// The first look-up waits until all are asked.
TEST_F(CurlLoopTest, TheTimeOfTheCacheIsNoneOfTheTimeOfThoseThatWait) {
  std::promise<void> allAsked;
  watchCache([&](int call) {
    if (call == 1) allAsked.get_future().wait();
    if (call == int{mostActive} * callsOfALookUp + 1) SteppedSleep::pass(10s);
  });
  server.replyBy([](const auto& request) {
    if (request.target() == "/from") return redirect();
    return request.target() == "/waits" ? answer() : silence();
  });
  std::vector<std::future<NetworkAnswer>> underWay;
  for (std::size_t i = 1; i < mostActive; ++i) underWay.push_back(send("/held", muchTime));
  underWay.push_back(send("/from", muchTime));
  auto waiting = send("/waits", tenSeconds);
  allAsked.set_value();
  ASSERT_TRUE(server.waitForRequests(mostActive + 1));
  letARoundPass();
  answerAll();
  EXPECT_EQ(waiting.get().body(), "x");
}

}  // namespace
}  // namespace vellora::hostkit
