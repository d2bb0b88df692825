#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/StandardPlatformAPI.h"
#include "testkit/ScriptedServer.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Host/NetRequest.h"
#include "vellora/Host/Network.h"

// Catalogues on the ready-made host, with its manners and without them, in front of a server that says how it
// wants to be treated.

namespace vellora {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::SizeIs;
using testkit::ScriptedServer;

constexpr QuestionOptions aMinute{.deadline = 60s};  // longer than any answer takes

ScriptedServer::Reply listFor(const ScriptedServer::Request& request) {
  if (request.target().ends_with("/theme")) return ScriptedServer::http("200 OK", R"({"themeItems":[]})");
  return ScriptedServer::http(
      "200 OK",
      R"({"sobjects":[{"name":"Account","keyPrefix":"001","label":"Account","labelPlural":"Accounts","createable":true}]})");
}

ScriptedServer::Reply refusalFor(const std::string& seconds) {
  return ScriptedServer::http("503 Busy", "", {"Retry-After: " + seconds});
}

/// Passes requests on, and fulfils a promise behind so many of them.
class CountingNetwork final : public CorvaneSDK::Network {
 public:
  CountingNetwork(std::shared_ptr<CorvaneSDK::Network> next, int count, std::promise<void> passedOn)
      : next_(std::move(next)), left_(count), passedOn_(std::move(passedOn)) {}

  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override {
    next_->sendRequest(request, std::move(completion));
    if (--left_ == 0) passedOn_.set_value();
  }

 private:
  const std::shared_ptr<CorvaneSDK::Network> next_;
  std::atomic<int> left_;
  std::promise<void> passedOn_;
};

class GoodClientTest : public testing::Test {
 protected:
  GoodClientTest() { options.server = server.url(); }

  /// A catalogue on a host of `options`, which it shares with the others.
  Catalog catalog(int attempts) {
    if (!host) host = hostkit::StandardPlatformAPI::make(options).value();
    CatalogOptions made{.loadsAtOnce = false};
    made.retry.attempts = attempts;
    return Catalog(host, std::move(made));
  }

  /// How many requests the server gets when two catalogues ask for both lists, and it answers none before all
  /// are asked for.
  std::size_t requestsOfTwoCatalogues() {
    std::promise<void> allAreAskedFor;
    server.replyBy([asked = allAreAskedFor.get_future().share()](const auto& request) {
      asked.wait_for(60s);
      return listFor(request);
    });
    host = hostkit::StandardPlatformAPI::make(options).value();
    const auto counting = std::make_shared<CountingNetwork>(host->network(), 4, std::move(allAreAskedFor));
    host = std::make_shared<hostkit::StandardPlatformAPI>(counting, host->cache(), host->logger());
    const auto one = catalog(1);
    const auto other = catalog(1);
    auto asked = one.types({"Account"}, aMinute);
    EXPECT_EQ(other.types({"Account"}, aMinute).get().end, End::answered);
    EXPECT_EQ(std::move(asked).get().end, End::answered);
    return server.requests().size();
  }

  ScriptedServer server;
  hostkit::StandardPlatformAPI::Options options;
  std::shared_ptr<hostkit::StandardPlatformAPI> host;
};

TEST_F(GoodClientTest, NothingElseIsAskedOfAServerThatWantsToBeLeftAlone) {
  server.replyAlways(refusalFor("1000"));
  const auto asking = catalog(1);
  EXPECT_EQ(asking.searchColumns({"Account"}, aMinute).get().end, End::failed);
  EXPECT_EQ(asking.headlines({"Account"}, aMinute).get().end, End::failed);
  const auto types = asking.types({"Account"}, aMinute).get();
  EXPECT_EQ(types.end, End::failed);
  EXPECT_THAT(types.trouble->text(), HasSubstr("not sent, since the server wants to be left alone"));
  EXPECT_THAT(server.requests(), SizeIs(1));
}

TEST_F(GoodClientTest, TurnedOffEachQuestionIsAskedOfIt) {
  options.pausesWhenRefused = false;
  server.replyAlways(refusalFor("1000"));
  const auto asking = catalog(1);
  EXPECT_EQ(asking.searchColumns({"Account"}, aMinute).get().end, End::failed);
  EXPECT_EQ(asking.headlines({"Account"}, aMinute).get().end, End::failed);
  EXPECT_THAT(server.requests(), SizeIs(2));
}

TEST_F(GoodClientTest, WhatIsCachedAnswersWhileTheServerWantsToBeLeftAlone) {
  server.replyBy(listFor);
  const auto asking = catalog(1);
  EXPECT_EQ(asking.types({"Account"}, aMinute).get().end, End::answered);
  server.replyBy([](const auto&) { return refusalFor("1000"); });
  EXPECT_EQ(asking.refresh({.deadline = 60s}).get().end, End::failed);
  EXPECT_EQ(asking.refresh({.deadline = 60s}).get().end, End::failed);
  EXPECT_THAT(asking.types({"Account"}, aMinute).get().found, SizeIs(1));
  EXPECT_LE(server.requests().size(), 4U) << "both lists, and once more for the first refresh";
}

// That a request does not come too early can be measured on the busiest machine.
TEST_F(GoodClientTest, AListIsFetchedOnceTheTimeIsOverThatTheServerAskedFor) {
  using Clock = std::chrono::steady_clock;
  std::mutex mutex;
  std::map<std::string, Clock::time_point> refused;  // by list; under mutex
  std::vector<Clock::duration> waited;               // under mutex
  server.replyBy([&](const auto& request) {
    const std::lock_guard lock(mutex);
    const auto [first, isFirst] = refused.emplace(request.target(), Clock::now());
    if (isFirst) return refusalFor("1");
    waited.push_back(Clock::now() - first->second);
    return listFor(request);
  });
  const auto answer = catalog(4).types({"Account"}, aMinute).get();
  EXPECT_EQ(answer.end, End::answered);
  EXPECT_THAT(answer.found, testing::Contains(testing::Key("Account")));
  const std::lock_guard lock(mutex);
  EXPECT_THAT(waited, SizeIs(2));
  EXPECT_THAT(waited, testing::Each(testing::Ge(990ms)));
}

TEST_F(GoodClientTest, CataloguesOnOneHostHaveOneRequestUnderWayForEachList) {
  EXPECT_EQ(requestsOfTwoCatalogues(), 2U);
}

TEST_F(GoodClientTest, TurnedOffEachCatalogueHasItsOwn) {
  options.sharesRequests = false;
  EXPECT_EQ(requestsOfTwoCatalogues(), 4U);
}

}  // namespace
}  // namespace vellora
