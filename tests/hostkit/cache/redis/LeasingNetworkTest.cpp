#include "hostkit/cache/redis/LeasingNetwork.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "testkit/StubNetwork.h"
#include "tests/hostkit/cache/redis/RedisFixture.h"
#include "tests/support/Requests.h"
#include "vellora/Platform/Web/URLResponse.h"

namespace vellora::hostkit::tests {
namespace {

using CorvaneSDK::NetRequest;
using testkit::StubNetwork;

constexpr const char* theme = "/services/data/v50.0/theme";

struct Unreachable {
  static std::string localizedDescription() { return "unreachable"; }
};

NetRequest themeRequest(double timeout = 3600) {
  return vellora::tests::get(theme, timeout);
}

struct Outcome {
  std::optional<Data> data;
  bool failed = false;
  std::optional<URLResponse> response;
};

std::future<Outcome> sent(CorvaneSDK::Network& network, const NetRequest& request = themeRequest()) {
  auto promise = std::make_shared<std::promise<Outcome>>();
  network.sendRequest(request, [promise](auto data, auto error, auto response) {
    promise->set_value({std::move(data), error.has_value(), std::move(response)});
  });
  return promise->get_future();
}

class LeasingNetworkTest : public RedisFixture {
 protected:
  /// One process: its own network and its own connection to the Redis.
  [[nodiscard]] std::unique_ptr<LeasingNetwork> process(const std::shared_ptr<StubNetwork>& network) {
    return std::make_unique<LeasingNetwork>(network, *open(), shares);
  }

  /// Waits until that network was asked something.
  static void waitUntilAsked(const StubNetwork& network) {
    while (network.count(theme) == 0) std::this_thread::yield();
  }

  // No machine is so slow that a lease or an answer ends before its test.
  LeasingNetwork::Options shares{std::chrono::hours(1), std::chrono::hours(1), std::chrono::milliseconds(1)};
  const std::shared_ptr<StubNetwork> one = std::make_shared<StubNetwork>();
  const std::shared_ptr<StubNetwork> other = std::make_shared<StubNetwork>();
};

TEST_F(LeasingNetworkTest, OneSendsAndTheOtherIsGivenItsAnswer) {
  one->answer(theme, StubNetwork::body("{}").held());
  const auto first = process(one);
  const auto second = process(other);
  auto firstOutcome = sent(*first);
  waitUntilAsked(*one);
  auto secondOutcome = sent(*second);
  ASSERT_EQ(one->releaseAll(), 1U);

  EXPECT_EQ(firstOutcome.get().data, Data("{}"));
  const auto outcome = secondOutcome.get();
  EXPECT_EQ(outcome.data, Data("{}"));
  EXPECT_FALSE(outcome.failed);
  EXPECT_EQ(outcome.response, (URLResponse{theme, 200, {}}));
  EXPECT_EQ(other->count(theme), 0U);
}

TEST_F(LeasingNetworkTest, WhoeverComesAMomentLaterIsGivenTheSameAnswer) {
  one->answer(theme, StubNetwork::body("{}"));
  {
    const auto first = process(one);
    EXPECT_EQ(sent(*first).get().data, Data("{}"));
  }  // has given its lease back
  EXPECT_EQ(sent(*process(other)).get().data, Data("{}"));
  EXPECT_EQ(other->count(theme), 0U);
}

TEST_F(LeasingNetworkTest, AFailureIsNotShared) {
  one->answer(theme, StubNetwork::failure(Unreachable{}).held());
  other->answer(theme, StubNetwork::body("{}"));
  const auto first = process(one);
  const auto second = process(other);
  auto firstOutcome = sent(*first);
  waitUntilAsked(*one);
  auto secondOutcome = sent(*second);
  ASSERT_EQ(one->releaseAll(), 1U);
  EXPECT_TRUE(firstOutcome.get().failed);
  EXPECT_EQ(secondOutcome.get().data, Data("{}"));
  EXPECT_EQ(other->count(theme), 1U);
}

TEST_F(LeasingNetworkTest, AnAnswerOfAnotherStatusIsNotShared) {
  one->answer(theme, StubNetwork::body("sorry").with(URLResponse{theme, 503, {}}));
  other->answer(theme, StubNetwork::body("{}"));
  {
    const auto first = process(one);
    EXPECT_EQ(sent(*first).get().data, Data("sorry"));
  }
  EXPECT_EQ(sent(*process(other)).get().data, Data("{}"));
}

TEST_F(LeasingNetworkTest, TheLeaseOfAProcessThatDiedRunsOut) {
  shares.lease = std::chrono::milliseconds(50);
  one->answer(theme, StubNetwork::never());
  other->answer(theme, StubNetwork::body("{}"));
  const auto first = process(one);
  const auto firstOutcome = sent(*first);
  waitUntilAsked(*one);
  EXPECT_EQ(sent(*process(other)).get().data, Data("{}"));
}

TEST_F(LeasingNetworkTest, NobodyWaitsForMoreThanHalfOfTheTimeOut) {
  one->answer(theme, StubNetwork::never());
  other->answer(theme, StubNetwork::body("{}"));
  const auto first = process(one);
  const auto firstOutcome = sent(*first);
  waitUntilAsked(*one);
  EXPECT_EQ(sent(*process(other), themeRequest(0.05)).get().data, Data("{}"));
}

TEST_F(LeasingNetworkTest, WithoutARedisEverybodySends) {
  other->answer(theme, StubNetwork::body("{}"));
  const auto second = process(other);
  server.kill();
  EXPECT_EQ(sent(*second).get().data, Data("{}"));
}

TEST_F(LeasingNetworkTest, WhatWaitsAtTheEndIsSent) {
  one->answer(theme, StubNetwork::never());
  other->answer(theme, StubNetwork::body("{}"));
  const auto first = process(one);
  const auto firstOutcome = sent(*first);
  waitUntilAsked(*one);
  std::future<Outcome> waiting;
  {
    const auto second = process(other);
    waiting = sent(*second);
  }
  EXPECT_EQ(waiting.get().data, Data("{}"));
}

TEST_F(LeasingNetworkTest, ACompletionMayLetGoOfTheNetwork) {
  one->answer(theme, StubNetwork::body("{}"));
  EXPECT_TRUE(sent(*process(one)).get().data);
  std::shared_ptr<LeasingNetwork> last = process(other);
  std::promise<void> done;
  auto& network = *last;
  network.sendRequest(themeRequest(), [&done, held = std::exchange(last, nullptr)](auto, auto, auto) mutable {
    held.reset();
    done.set_value();
  });
  done.get_future().wait();
}

TEST_F(LeasingNetworkTest, OnlyPlainGetsAreShared) {
  one->answer(theme, StubNetwork::body("{}"));
  const auto first = process(one);
  EXPECT_TRUE(sent(*first).get().data);
  auto post = themeRequest().base();
  post.httpMethod = "POST";
  EXPECT_TRUE(sent(*first, NetRequest(post)).get().data);
  EXPECT_EQ(one->count(theme), 2U);
}

}  // namespace
}  // namespace vellora::hostkit::tests
