#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <future>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "hostkit/bodies/KeptBodies.h"
#include "hostkit/bodies/KeptBody.h"
#include "tests/hostkit/network/CurlNetworkConditionFixture.h"
#include "tests/hostkit/network/PackedLetters.h"
#include "tests/hostkit/network/WatchedCache.h"

namespace vellora::hostkit {
namespace {

using testing::HasSubstr;
using testing::Not;
using tests::NetworkAnswer;
using tests::ScriptedServer;

/// What is kept between requests, and what must not be, whatever server and cache do.
using CurlNetworkKeptBodiesTest = CurlNetworkConditionFixture;

// Nobody can tell it from a whole one. Kept, it would be the answer until the tag changes.
TEST_F(CurlNetworkKeptBodiesTest, ABodyWhoseEndNothingTellsIsNotKept) {
  const std::string head = "HTTP/1.1 200 OK\r\nETag: \"1\"\r\nContent-Type: text/plain\r\n";
  server.reply({head + "Connection: close\r\n\r\nhal", Then::close});
  server.reply({head + "Transfer-Encoding: chunked\r\n\r\n4\r\nhalf\r\n0\r\n\r\n"});
  server.reply(unchanged());
  EXPECT_EQ(ask("/theme").body(), "hal");
  EXPECT_EQ(ask("/theme").body(), "half");
  EXPECT_EQ(ask("/theme").body(), "half");
  EXPECT_EQ(conditionOf(1), "");
  EXPECT_EQ(conditionOf(2), "If-None-Match: \"1\"");
}

TEST_F(CurlNetworkKeptBodiesTest, APackedBodyThatIsTooLargeAsItComesIsNotKept) {
  auto options = keeping();
  options.maxKeptBytes = 4 * (512 + packedLetters.size() - 1);
  remake(options);
  server.replyAlways(
      ScriptedServer::http("200 OK", packedLetters, {"ETag: \"1\"", "Content-Encoding: gzip"}));
  EXPECT_EQ(ask("/theme").body(), unpackedLetters);
  EXPECT_EQ(ask("/theme").body(), unpackedLetters);
  EXPECT_EQ(conditionOf(1), "");
}

// Curl hands over no more than 16 KiB at a time.
TEST_F(CurlNetworkKeptBodiesTest, TheRestOfAPackedBodyThatIsTooLargeIsNotKeptEither) {
  auto options = keeping();
  options.maxKeptBytes = std::size_t{4} * (512 + 20'000);
  remake(options);
  std::string packed;
  while (packed.size() < 40'000) packed += packedLetters;
  server.replyAlways(ScriptedServer::http("200 OK", packed, {"ETag: \"1\"", "Content-Encoding: gzip"}));
  EXPECT_EQ(ask("/theme").body().size(), packed.size() / packedLetters.size() * unpackedLetters.size());
  ask("/theme");
  EXPECT_EQ(conditionOf(1), "");
}

TEST_F(CurlNetworkKeptBodiesTest, HalfAPackedBodyThatOthersHaveStoredIsAskedForAnew) {
  server.reply(tagged("themes"));
  server.reply(unchanged());
  server.reply(tagged("themes again"));
  ask("/theme");
  const auto row =
      host.table->fetch(CorvaneSDK::Query::exact(BodiesCache::ofKind(KeptBodies::bodyKind))).at(0);
  const KeptBody half{{{"etag", "\"1\""}, {"content-encoding", "gzip"}}, Data(packedLetters.substr(0, 20))};
  host.replaceStoredBody(storedForm(half, row.meta.at("request")), KeptBodies::bodyKind);
  EXPECT_EQ(ask("/theme").body(), "themes again");
  EXPECT_EQ(conditionOf(1), "If-None-Match: \"1\"");
  EXPECT_EQ(conditionOf(2), "");
}

TEST_F(CurlNetworkKeptBodiesTest, WhatNoServerCanHaveSentIsNotSentToOne) {
  server.reply(tagged("themes"));
  server.reply(tagged("themes again"));
  ask("/theme");
  const auto row =
      host.table->fetch(CorvaneSDK::Query::exact(BodiesCache::ofKind(KeptBodies::bodyKind))).at(0);
  const KeptBody evil{{{"etag", "\"1\"\r\nX-Evil: 1"}}, Data(std::string("evil"))};
  host.replaceStoredBody(storedForm(evil, row.meta.at("request")), KeptBodies::bodyKind);
  EXPECT_EQ(ask("/theme").body(), "themes again");
  EXPECT_EQ(conditionOf(1), "");
  EXPECT_THAT(server.requests().at(1), Not(HasSubstr("X-Evil")));
}

TEST_F(CurlNetworkKeptBodiesTest, AStoredBodyWithoutATagOrADateIsNotAskedAbout) {
  server.reply(tagged("themes"));
  server.reply(unchanged());
  ask("/theme");
  const auto row =
      host.table->fetch(CorvaneSDK::Query::exact(BodiesCache::ofKind(KeptBodies::bodyKind))).at(0);
  host.replaceStoredBody(storedForm({{}, Data(std::string("x"))}, row.meta.at("request")),
                         KeptBodies::bodyKind);
  expectError(ask("/theme"), Kind::errorStatus);  // of a 304 that nobody has asked for
  EXPECT_EQ(server.requests().size(), 2U);
}

TEST_F(CurlNetworkKeptBodiesTest, WhatIsUnderWayInTheFirstSessionIsNotKeptBehindAForget) {
  auto options = keeping();
  options.renewedToken = [](const std::string&) { return "secret-token-2"; };
  remake(options);
  server.replyBy([this](const ScriptedServer::Request& request) {
    if (request.token() == "secret-token-2") return tagged("themes");
    host.forget();
    return ScriptedServer::http("401 Unauthorized");
  });
  EXPECT_EQ(ask("/theme").body(), "themes");
  EXPECT_EQ(host.rowsOf(KeptBodies::bodyKind), 0U);
}

TEST_F(CurlNetworkKeptBodiesTest, ACacheWithoutMemoryCostsNoAnswer) {
  auto options = keeping();
  options.bodies = std::make_shared<WatchedCache>(host.cache, [](int) { throw std::bad_alloc(); });
  remake(options);
  server.replyAlways(tagged("themes"));
  EXPECT_EQ(ask("/theme").body(), "themes");
  EXPECT_EQ(ask("/theme").body(), "themes");
  EXPECT_EQ(conditionOf(1), "");
}

// The first request stops the network's thread until two more wait. The cache's third look-up is let through
// only when the second request has got as far as the server.
TEST_F(CurlNetworkKeptBodiesTest, RequestsGetOnBetweenTheLookUpsOfOthers) {
  constexpr int callsOfALookUp = 2;
  constexpr auto aMinute = std::chrono::seconds(60);
  std::promise<void> allAsked;
  std::atomic<bool> gotOn = false;
  auto options = keeping();
  options.bodies = std::make_shared<WatchedCache>(host.cache, [&](int call) {
    if (call == 1) allAsked.get_future().wait();
    if (call != 2 * callsOfALookUp + 1) return;
    const auto end = std::chrono::steady_clock::now() + aMinute;
    while (server.connections() < 2 && std::chrono::steady_clock::now() < end) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    gotOn = server.connections() == 2;
  });
  remake(options);
  std::vector<std::future<NetworkAnswer>> answers;
  for (const char* path : {"/a", "/b", "/c"})
    answers.push_back(tests::send(*network, tests::get(path, 1000)));
  allAsked.set_value();
  EXPECT_TRUE(server.waitForRequests(3));
  EXPECT_TRUE(gotOn);
  network.reset();
}

/// Two requests that are under way together. The cache takes long for the second one, unless the first has
/// ended by then.
class SlowLookUpOfASecond {
 public:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::milliseconds timeOfCache{500};

  SlowLookUpOfASecond(CurlNetwork::Options options, const std::shared_ptr<CorvaneSDK::Cache>& cache) {
    options.bodies = std::make_shared<WatchedCache>(cache, [this](int call) { lookUp(call); });
    network_ = CurlNetwork::make(std::move(options)).value();
  }

  /// How long the first request has taken, which has the time-out of that many seconds and gets no answer.
  /// Absent when it ended before the cache was slow.
  std::optional<Clock::duration> timeOfTheFirst(double timeout) {
    std::promise<Clock::time_point> ended;
    network_->sendRequest(tests::get("/first", timeout), [&](auto, auto, auto) {
      hasEnded_ = true;
      ended.set_value(Clock::now());
    });
    const auto second = tests::send(*network_, tests::get("/second", 1000));
    const auto begun = Clock::now();
    bothAsked_.set_value();
    const auto taken = ended.get_future().get() - begun;
    network_.reset();
    return wasTooSoon_ ? std::nullopt : std::optional(taken);
  }

 private:
  void lookUp(int call) {
    if (call == 1) bothAsked_.get_future().wait();
    if (call != 3) return;
    wasTooSoon_ = hasEnded_;
    std::this_thread::sleep_for(timeOfCache);
  }

  // Only on the network's thread until it has ended, but for the promise.
  bool hasEnded_ = false;
  bool wasTooSoon_ = true;
  std::promise<void> bothAsked_;
  std::shared_ptr<CurlNetwork> network_;
};

TEST_F(CurlNetworkKeptBodiesTest, TheTimeOfTheCacheIsNoneOfTheTimeOfOthers) {
  std::optional<std::chrono::steady_clock::duration> taken;
  for (double timeout = 0.5; !taken && timeout < 1000; timeout *= 2) {
    taken = SlowLookUpOfASecond(keeping(), host.cache).timeOfTheFirst(timeout);
    if (!taken) continue;
    EXPECT_GE(*taken, std::chrono::duration<double>(timeout) + SlowLookUpOfASecond::timeOfCache);
  }
  EXPECT_TRUE(taken);
}

}  // namespace
}  // namespace vellora::hostkit
