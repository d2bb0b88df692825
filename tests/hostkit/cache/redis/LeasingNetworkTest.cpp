#include "hostkit/cache/redis/LeasingNetwork.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <future>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "testkit/StubNetwork.h"
#include "tests/hostkit/cache/redis/RedisFixture.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/NoMoreThreads.h"
#include "tests/support/Requests.h"
#include "vellora/Platform/Web/URLResponse.h"

namespace vellora::hostkit::tests {
namespace {

using CorvaneSDK::NetRequest;
using testing::HasSubstr;
using testing::Not;
using testkit::StubNetwork;
using vellora::tests::AllocationFailure;
using vellora::tests::LiveMemory;

constexpr const char* theme = "/services/data/v50.0/theme";
constexpr const char* sObjects = "/services/data/v50.0/sobjects";

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

/// Hands its caller's completion out.
class OpenNetwork final : public CorvaneSDK::Network {
 public:
  void sendRequest(const NetRequest&, Completion completion) override {
    asked_.set_value(std::move(completion));
  }

  [[nodiscard]] Completion completion() { return asked_.get_future().get(); }

 private:
  std::promise<Completion> asked_;
};

/// Answers what it still owes when it goes.
class LateNetwork final : public CorvaneSDK::Network {
 public:
  LateNetwork() = default;
  ~LateNetwork() override {
    if (owed_) owed_(Data("late"), std::nullopt, std::nullopt);
  }
  LateNetwork(const LateNetwork&) = delete;
  LateNetwork& operator=(const LateNetwork&) = delete;

  void sendRequest(const NetRequest&, Completion completion) override {
    owed_ = std::move(completion);
    wasAsked_.set_value();
  }

  void waitUntilAsked() { wasAsked_.get_future().wait(); }

 private:
  Completion owed_;
  std::promise<void> wasAsked_;
};

/// Answers at once, and keeps nothing.
class QuickNetwork final : public CorvaneSDK::Network {
 public:
  void sendRequest(const NetRequest&, Completion completion) override {
    completion(Data("{}"), std::nullopt, std::nullopt);
  }
};

/// Has no memory for its first request, and answers each other.
class ShortOfMemoryNetwork final : public CorvaneSDK::Network {
 public:
  void sendRequest(const NetRequest&, Completion completion) override {
    if (++requests_ == 1) throw std::bad_alloc();
    completion(Data("{}"), std::nullopt, std::nullopt);
  }

 private:
  int requests_ = 0;
};

/// Looks until it is so; false when it is not after a long time.
bool waitUntil(const std::function<bool()>& isSo) {
  const auto end = std::chrono::steady_clock::now() + longTimeout;
  while (!isSo()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

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

  /// Whether another process would be given that answer.
  [[nodiscard]] bool isShared(const std::optional<Error>& error, const std::optional<URLResponse>& response) {
    (void)server.ask({"FLUSHALL"});
    const auto network = std::make_shared<OpenNetwork>();
    LeasingNetwork leasing(network, *open(), shares);
    auto outcome = sent(leasing);
    network->completion()(Data("{}"), error, response);
    outcome.wait();
    return !server.keys("*:answer:*").empty();
  }

  /// Waits until that network was asked something.
  static void waitUntilAsked(const StubNetwork& network) {
    while (network.count(theme) == 0) std::this_thread::yield();
  }

  /// How long the lease lasts from now on, in milliseconds: -2 when it is gone.
  [[nodiscard]] std::int64_t leaseLeft() const {
    const auto names = server.keys("*lease*");
    return names.empty() ? -2 : server.ask({"PTTL", names.front()}).number;
  }

  static constexpr std::int64_t withoutEnd = -1;

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

TEST_F(LeasingNetworkTest, AnAnswerIsSharedThatIsGoodOrOfNoStatus) {
  EXPECT_TRUE(isShared(std::nullopt, std::nullopt));
  EXPECT_TRUE(isShared(std::nullopt, URLResponse{theme, 200, {}}));
  EXPECT_TRUE(isShared(std::nullopt, URLResponse{theme, 0, {}}));
  EXPECT_FALSE(isShared(std::nullopt, URLResponse{theme, 206, {}}));
  EXPECT_FALSE(isShared(Error(Unreachable{}), std::nullopt));
  EXPECT_FALSE(isShared(Error(Unreachable{}), URLResponse{theme, 200, {}}));
}

TEST_F(LeasingNetworkTest, TheLeaseOfAProcessThatDiedRunsOut) {
  shares.lease = std::chrono::milliseconds(50);
  one->answer(theme, StubNetwork::never());
  other->answer(theme, StubNetwork::body("{}"));
  auto first = process(one);
  const auto firstOutcome = sent(*first);
  waitUntilAsked(*one);
  first.reset();  // renews nothing any more
  const auto second = process(other);
  auto outcome = sent(*second);
  ASSERT_EQ(outcome.wait_for(longTimeout), std::future_status::ready);
  EXPECT_EQ(outcome.get().data, Data("{}"));
}

TEST_F(LeasingNetworkTest, ALeaseIsRenewedAsLongAsItsRequestLasts) {
  shares.lease = std::chrono::milliseconds(300);
  one->answer(theme, StubNetwork::body("{}").held());
  std::vector<std::unique_ptr<LeasingNetwork>> processes;
  // A machine may be so slow that a lease has run out when it is looked at: then another one is.
  while (leaseLeft() != withoutEnd) {
    processes.push_back(process(one));
    (void)sent(*processes.back());
    ASSERT_TRUE(one->waitForRequests(processes.size()));
    for (const std::string& lease : server.keys("*lease*")) (void)server.ask({"PERSIST", lease});
  }
  EXPECT_TRUE(waitUntil([this] { return leaseLeft() != withoutEnd; }))
      << "has the end that its holder gave it";
  one->answer(sObjects, StubNetwork::body("[]"));
  for (const auto& process : processes) {
    EXPECT_EQ(sent(*process, vellora::tests::get(sObjects)).get().data, Data("[]")) << "the thread goes on";
  }
  EXPECT_EQ(one->releaseAll(), processes.size());
}

TEST_F(LeasingNetworkTest, AnAnswerThatOutlastedItsLeaseIsGivenToTheOthers) {
  one->answer(theme, StubNetwork::body("{}").held());
  const auto first = process(one);
  auto firstOutcome = sent(*first);
  waitUntilAsked(*one);
  (void)server.ask({"SET", server.keys("*lease*").at(0), "another's"});
  const auto second = process(other);
  auto secondOutcome = sent(*second);
  ASSERT_EQ(one->releaseAll(), 1U);
  ASSERT_EQ(secondOutcome.wait_for(longTimeout), std::future_status::ready);
  EXPECT_EQ(secondOutcome.get().data, Data("{}"));
  EXPECT_EQ(other->count(theme), 0U);
}

TEST_F(LeasingNetworkTest, WhatWasSentAfterWaitingInVainIsGivenToTheOthersToo) {
  one->answer(theme, StubNetwork::never());
  other->answer(theme, StubNetwork::body("{}"));
  const auto first = process(one);
  const auto firstOutcome = sent(*first);
  waitUntilAsked(*one);
  const auto second = process(other);
  EXPECT_EQ(sent(*second, themeRequest(0.05)).get().data, Data("{}"));
  const auto unused = std::make_shared<StubNetwork>();
  const auto third = process(unused);
  auto outcome = sent(*third);
  ASSERT_EQ(outcome.wait_for(longTimeout), std::future_status::ready);
  EXPECT_EQ(outcome.get().data, Data("{}"));
  EXPECT_EQ(unused->count(), 0U);
}

TEST_F(LeasingNetworkTest, WhoeverWaitsWhenTheRedisGoesWaitsOn) {
  shares.lease = std::chrono::hours(10'000);  // no share of it is short
  one->answer(theme, StubNetwork::never());
  other->answer(theme, StubNetwork::body("{}"));
  const auto first = process(one);
  const auto firstOutcome = sent(*first);
  waitUntilAsked(*one);
  server.forgetCalls();
  const auto second = process(other);
  auto outcome = sent(*second);
  ASSERT_TRUE(waitUntil([this] { return server.callsOf("eval") > 1; })) << "it was told to wait";
  server.kill();
  EXPECT_TRUE(waitUntil([this] { return told.all().size() > 3; })) << "it goes on looking";
  EXPECT_EQ(other->count(theme), 0U);
  server.start();
  ASSERT_EQ(outcome.wait_for(longTimeout), std::future_status::ready);
  EXPECT_EQ(outcome.get().data, Data("{}"));
}

TEST_F(LeasingNetworkTest, WhatWasSentWithoutARedisIsGivenToTheOthersOnceItIsBack) {
  one->answer(theme, StubNetwork::body("{}").held());
  const auto first = process(one);
  server.kill();
  auto firstOutcome = sent(*first);
  waitUntilAsked(*one);
  server.start();
  ASSERT_EQ(one->releaseAll(), 1U);
  EXPECT_EQ(firstOutcome.get().data, Data("{}"));
  EXPECT_EQ(sent(*process(other)).get().data, Data("{}"));
  EXPECT_EQ(other->count(theme), 0U);
}

TEST_F(LeasingNetworkTest, ProcessesOfTwoOwnersShareNothing) {
  one->answer(theme, StubNetwork::body("{}"));
  other->answer(theme, StubNetwork::body("[]"));
  shares.owner = "https://records.example one";
  EXPECT_EQ(sent(*process(one)).get().data, Data("{}"));
  shares.owner = "https://records.example other";
  EXPECT_EQ(sent(*process(other)).get().data, Data("[]"));
  shares.owner = "https://records.example one";
  EXPECT_EQ(sent(*process(other)).get().data, Data("{}"));
  for (const std::string& name : server.keys()) EXPECT_THAT(name, Not(HasSubstr("records.example")));
}

TEST_F(LeasingNetworkTest, AnAnswerIsHandedOnThoughThereIsNoMemoryToShareIt) {
  const auto network = std::make_shared<OpenNetwork>();
  LeasingNetwork leasing(network, *open(), shares);
  bool isHanded = false;
  leasing.sendRequest(themeRequest(), [&isHanded](auto, auto, auto) { isHanded = true; });
  const auto completion = network->completion();
  std::optional<Data> data = Data("{}");
  {
    const AllocationFailure failure(1, AllocationFailure::Extent::allFromThereOn);
    completion(std::move(data), std::nullopt, std::nullopt);
    EXPECT_TRUE(failure.happened());
  }
  EXPECT_TRUE(isHanded);
}

TEST_F(LeasingNetworkTest, WhatTheOtherNetworkHasNoMemoryForIsSentOnceMore) {
  LeasingNetwork leasing(std::make_shared<ShortOfMemoryNetwork>(), *open(), shares);
  EXPECT_EQ(sent(leasing).get().data, Data("{}"));
}

TEST_F(LeasingNetworkTest, NobodyWaitsForMoreThanHalfOfTheTimeOut) {
  one->answer(theme, StubNetwork::never());
  other->answer(theme, StubNetwork::body("{}"));
  const auto first = process(one);
  const auto firstOutcome = sent(*first);
  waitUntilAsked(*one);
  EXPECT_EQ(sent(*process(other), themeRequest(0.05)).get().data, Data("{}"));
}

TEST_F(LeasingNetworkTest, WhoeverWaitedSendsWithTheTimeThatIsLeft) {
  constexpr double timeout = 0.05;
  one->answer(theme, StubNetwork::never());
  other->answer(theme, StubNetwork::body("{}"));
  const auto first = process(one);
  const auto firstOutcome = sent(*first);
  waitUntilAsked(*one);
  EXPECT_TRUE(sent(*process(other), themeRequest(timeout)).get().data);
  const double left = other->requests().at(0).request.base().timeoutInterval;
  EXPECT_LE(left, timeout * 0.6 + 1e-9) << "it waited for two fifths at least";
  EXPECT_GE(left, timeout / 4);
}

TEST_F(LeasingNetworkTest, WhoeverHasNoTimeLeftIsGivenAQuarterOfIt) {
  constexpr double timeout = 1e-9;
  one->answer(theme, StubNetwork::body("{}"));
  const auto first = process(one);
  double left = timeout;
  while (left == timeout) {  // a clock may stand still that long
    EXPECT_TRUE(sent(*first, themeRequest(timeout)).get().data);
    left = one->requests().back().request.base().timeoutInterval;
  }
  EXPECT_DOUBLE_EQ(left, timeout / 4);
}

TEST_F(LeasingNetworkTest, WhoeverHasNoTimeToWaitAsksNobody) {
  one->answer(theme, StubNetwork::body("{}").held());
  const auto first = process(one);
  server.forgetCalls();
  auto outcome = sent(*first, themeRequest(0));
  waitUntilAsked(*one);
  EXPECT_EQ(server.callsOf("eval"), 0);
  EXPECT_EQ(one->releaseAll(), 1U);
  EXPECT_TRUE(outcome.get().data);
}

TEST_F(LeasingNetworkTest, ARequestThatIsUnderWayKeepsNoOtherBack) {
  one->answer(theme, StubNetwork::never());
  one->answer(sObjects, StubNetwork::body("[]"));
  const auto first = process(one);
  server.forgetCalls();
  const auto themeOutcome = sent(*first);
  waitUntilAsked(*one);
  EXPECT_EQ(sent(*first, vellora::tests::get(sObjects)).get().data, Data("[]"));
  EXPECT_EQ(server.callsOf("eval"), 3) << "each asked once, one has given back, and nothing is renewed yet";
}

TEST_F(LeasingNetworkTest, WhoeverWaitsLooksAgainAfterTheIntervalAndNoSooner) {
  shares.interval = std::chrono::hours(1);
  one->answer(theme, StubNetwork::never());
  other->answer(theme, StubNetwork::body("{}"));
  other->answer(sObjects, StubNetwork::body("[]"));
  const auto first = process(one);
  const auto firstOutcome = sent(*first);
  waitUntilAsked(*one);
  const auto second = process(other);
  server.forgetCalls();
  const auto waiting = sent(*second);
  for (int i = 0; i < 2; ++i) (void)sent(*second, vellora::tests::get(sObjects)).get();
  EXPECT_EQ(server.callsOf("eval"), 4) << "three have asked, and one has given back";
}

TEST_F(LeasingNetworkTest, NothingIsKeptOfWhatWasAnswered) {
  LeasingNetwork leasing(std::make_shared<QuickNetwork>(), *open(), shares);
  const auto sendOneHundred = [&leasing](const std::string& name) {
    for (int i = 0; i < 100; ++i) {
      (void)sent(leasing, vellora::tests::get("/" + name + std::to_string(i))).get();
    }
  };
  sendOneHundred("first");
  const auto before = LiveMemory::now().blocks;
  sendOneHundred("second");
  EXPECT_LT(LiveMemory::now().blocks, before + 100);
}

TEST_F(LeasingNetworkTest, WithoutARedisEverybodySends) {
  other->answer(theme, StubNetwork::body("{}"));
  const auto second = process(other);
  server.kill();
  EXPECT_EQ(sent(*second).get().data, Data("{}"));
}

TEST_F(LeasingNetworkTest, WhatWaitsAtTheEndIsSentAtOnce) {
  shares.interval = std::chrono::hours(1);
  one->answer(theme, StubNetwork::never());
  other->answer(theme, StubNetwork::body("{}"));
  const auto first = process(one);
  const auto firstOutcome = sent(*first);
  waitUntilAsked(*one);
  std::future<Outcome> waiting;
  {
    const auto second = process(other);
    server.forgetCalls();
    waiting = sent(*second);
    ASSERT_TRUE(waitUntil([this] { return server.callsOf("eval") > 0; })) << "it was told to wait";
  }
  EXPECT_EQ(waiting.get().data, Data("{}"));
}

TEST_F(LeasingNetworkTest, ACompletionMayLetGoOfTheNetwork) {
  one->answer(theme, StubNetwork::body("{}"));
  EXPECT_TRUE(sent(*process(one)).get().data);
  std::shared_ptr<LeasingNetwork> last = process(other);
  std::promise<void> letGo;
  const auto done = std::make_shared<std::promise<void>>();
  auto end = done->get_future();
  last->sendRequest(themeRequest(),
                    [done, held = last, mayEnd = letGo.get_future().share()](auto, auto, auto) mutable {
                      mayEnd.wait();
                      held.reset();
                      done->set_value();
                    });
  last.reset();
  letGo.set_value();
  end.wait();
}

TEST_F(LeasingNetworkTest, TheOtherNetworkGoesAlongWithWhatItOwes) {
  auto network = std::make_shared<StubNetwork>();
  const std::weak_ptr<StubNetwork> left = network;
  network->answer(theme, StubNetwork::body("{}").held());
  {
    const auto first = process(network);
    const auto outcome = sent(*first);
    waitUntilAsked(*network);
    network.reset();
  }
  EXPECT_TRUE(left.expired());
}

TEST_F(LeasingNetworkTest, WhatTheOtherNetworkAnswersAsItGoesIsHandedOn) {
  one->answer(theme, StubNetwork::body("{}"));
  EXPECT_TRUE(sent(*process(one)).get().data);  // for all others
  auto late = std::make_shared<LateNetwork>();
  auto last = std::make_shared<LeasingNetwork>(late, *open(), shares);
  auto owed = sent(*last, vellora::tests::get(sObjects));
  late->waitUntilAsked();
  late.reset();
  // The last handle goes on the network's own thread, which lets go of the other network then.
  std::promise<void> letGo;
  last->sendRequest(themeRequest(),
                    [held = last, mayEnd = letGo.get_future().share()](auto, auto, auto) mutable {
                      mayEnd.wait();
                      held.reset();
                    });
  last.reset();
  letGo.set_value();
  EXPECT_EQ(owed.get().data, Data("late"));
}

TEST_F(LeasingNetworkTest, OnlyPlainGetsAreShared) {
  one->answer(theme, StubNetwork::body("{}"));
  const auto first = process(one);
  EXPECT_TRUE(sent(*first).get().data);
  auto post = themeRequest().base();
  post.httpMethod = "POST";
  EXPECT_TRUE(sent(*first, NetRequest(post)).get().data);
  EXPECT_EQ(one->count(theme), 2U);
  auto withBody = themeRequest().base();
  withBody.body = Data("a body");
  EXPECT_TRUE(sent(*first, NetRequest(withBody)).get().data);
  EXPECT_EQ(one->count(theme), 3U);
}

[[noreturn]] void sendWithoutAThread() {
  const auto cache = RedisCache::open("redis://127.0.0.1:1").value();
  vellora::tests::leaveNoRoomForAThread();
  LeasingNetwork leasing(std::make_shared<QuickNetwork>(), *cache);
  bool isAnswered = false;
  leasing.sendRequest(themeRequest(), [&isAnswered](auto, auto, auto) { isAnswered = true; });
  std::_Exit(isAnswered ? 0 : 1);
}

TEST(LeasingNetworkDeathTest, PassesEverythingOnWhereTheSystemHasNoThread) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(sendWithoutAThread(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace vellora::hostkit::tests
