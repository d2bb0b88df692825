#include "hostkit/network/CoalescingNetwork.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "testkit/StubNetwork.h"
#include "tests/support/Requests.h"

namespace vellora::hostkit {
namespace {

using CorvaneSDK::NetRequest;
using testkit::StubNetwork;
using tests::get;
using Texts = std::vector<std::string>;

struct Unreachable {
  [[nodiscard]] static std::string localizedDescription() { return "unreachable"; }
};

class CoalescingNetworkTest : public testing::Test {
 protected:
  void send(const NetRequest& request, const std::string& caller) {
    network->sendRequest(request, [this, caller](const auto& data, const auto& error, const auto& response) {
      answers.push_back(caller + ": " +
                        (data    ? std::string(data->view())
                         : error ? error->localizedDescription()
                                 : "nothing") +
                        (response ? " " + std::to_string(response->statusCode) : ""));
    });
  }

  Texts answers;
  std::shared_ptr<StubNetwork> wire = std::make_shared<StubNetwork>();
  std::unique_ptr<CoalescingNetwork> network = std::make_unique<CoalescingNetwork>(wire);
};

TEST_F(CoalescingNetworkTest, EqualRequestsUnderWayShareOneWireRequest) {
  wire->answer("/theme", StubNetwork::body("themes").with({"", 200, {}}).held());
  send(get("/theme"), "first");
  send(get("/theme"), "second");
  send(get("/theme"), "third");
  EXPECT_EQ(wire->count(), 1U);
  EXPECT_TRUE(answers.empty());

  wire->releaseAll();
  EXPECT_EQ(answers, (Texts{"first: themes 200", "second: themes 200", "third: themes 200"}));
}

TEST_F(CoalescingNetworkTest, EachGetsTheError) {
  wire->answer("/theme", StubNetwork::failure(Unreachable{}).held());
  send(get("/theme"), "first");
  send(get("/theme"), "second");
  wire->releaseAll();
  EXPECT_EQ(answers, (Texts{"first: unreachable", "second: unreachable"}));
}

TEST_F(CoalescingNetworkTest, ARequestAfterTheAnswerGoesToTheWireAgain) {
  wire->answer("/theme", {StubNetwork::body("old"), StubNetwork::body("new")});
  send(get("/theme"), "first");
  send(get("/theme"), "second");
  EXPECT_EQ(wire->count(), 2U);
  EXPECT_EQ(answers, (Texts{"first: old", "second: new"}));
}

TEST_F(CoalescingNetworkTest, ARequestFromACompletionGoesToTheWireAgain) {
  wire->answer("/theme", {StubNetwork::body("old").held(), StubNetwork::body("new").held()});
  network->sendRequest(get("/theme"), [this](auto, auto, auto) { send(get("/theme"), "again"); });
  send(get("/theme"), "joined");
  wire->releaseAll();
  EXPECT_EQ(answers, Texts{"joined: old"});
  wire->releaseAll();
  EXPECT_EQ(answers, (Texts{"joined: old", "again: new"}));
}

TEST_F(CoalescingNetworkTest, DifferentRequestsAreNotShared) {
  wire->answerPrefix("/", StubNetwork::body("x").held());
  URLRequest withHeader = get("/theme").base();
  withHeader.headers = {{"X-User", "1"}};
  send(get("/theme"), "plain");
  send(get("/theme?q=1"), "query");
  send(get("/theme", 5.0), "time-out");
  send(NetRequest(withHeader), "header");
  EXPECT_EQ(wire->count(), 4U);
  send(NetRequest(withHeader), "header again");
  EXPECT_EQ(wire->count(), 4U);
  wire->release("/theme?q=1");
  EXPECT_EQ(answers, Texts{"query: x"});
}

TEST_F(CoalescingNetworkTest, ARequestWithAnotherCredentialIsNotJoinedToAnOlderOne) {
  std::string token = "old";
  CoalescingNetwork coalescing(wire, [&] { return token; });
  wire->answer("/theme",
               {StubNetwork::body("for the old one").held(), StubNetwork::body("for the new one").held()});
  Texts bodies;
  const auto keep = [&](const auto& data, auto, auto) { bodies.emplace_back(data->view()); };
  coalescing.sendRequest(get("/theme"), keep);
  token = "new";
  coalescing.sendRequest(get("/theme"), keep);
  coalescing.sendRequest(get("/theme"), keep);
  token = "old";
  coalescing.sendRequest(get("/theme"), keep);
  EXPECT_EQ(wire->count(), 2U);
  wire->releaseAll();
  EXPECT_EQ(bodies, (Texts{"for the old one", "for the old one", "for the new one", "for the new one"}));
}

/// Keeps each completion until the test calls it.
class KeepingNetwork final : public CorvaneSDK::Network {
 public:
  void sendRequest(const NetRequest&, Completion completion) override {
    kept.push_back(std::move(completion));
  }

  std::vector<Completion> kept;
};

TEST_F(CoalescingNetworkTest, AnAnswerEndsNoOtherRequestForItsUrl) {
  std::string token;
  const auto keeping = std::make_shared<KeepingNetwork>();
  CoalescingNetwork coalescing(keeping, [&] { return token; });
  const auto ask = [&](std::size_t number) {
    token = std::to_string(number);
    coalescing.sendRequest(get("/theme"), [](auto, auto, auto) {});
  };
  constexpr std::size_t all = 8;
  constexpr std::size_t answered = 4;  // wherever they lie, this one is hardly the first or last of them
  for (std::size_t number = 0; number < all; ++number) ask(number);
  keeping->kept.at(answered)(Data(), std::nullopt, std::nullopt);
  for (std::size_t number = 0; number < all; ++number) {
    if (number != answered) ask(number);
  }
  EXPECT_EQ(keeping->kept.size(), all) << "the others are under way";
}

TEST_F(CoalescingNetworkTest, WhatIsNoPlainGetIsNotShared) {
  wire->answerPrefix("/", StubNetwork::body("x").held());
  URLRequest posting = get("/theme").base();
  posting.httpMethod = "POST";
  URLRequest withBody = get("/theme").base();
  withBody.body = Data(std::string("body"));
  for (const URLRequest& request : {posting, posting, withBody, withBody}) send(NetRequest(request), "each");
  EXPECT_EQ(wire->count(), 4U);
  wire->releaseAll();
  EXPECT_EQ(answers.size(), 4U);
}

TEST_F(CoalescingNetworkTest, RequestsUnderWayOutliveIt) {
  wire->answer("/theme", StubNetwork::body("themes").held());
  send(get("/theme"), "first");
  send(get("/theme"), "second");
  network.reset();
  wire->releaseAll();
  EXPECT_EQ(answers, (Texts{"first: themes", "second: themes"}));
}

TEST_F(CoalescingNetworkTest, ACompletionMayDropIt) {
  wire->answer("/theme", StubNetwork::body("themes").held());
  network->sendRequest(get("/theme"), [this](auto, auto, auto) { network.reset(); });
  send(get("/theme"), "second");
  wire->releaseAll();
  EXPECT_EQ(network, nullptr);
  EXPECT_EQ(answers, Texts{"second: themes"});
}

/// Breaks the contract on purpose.
class CarelessNetwork final : public CorvaneSDK::Network {
 public:
  explicit CarelessNetwork(int times) : times_(times) {}

  void sendRequest(const NetRequest&, Completion completion) override {
    ++sent;
    for (int i = 0; i < times_; ++i) completion(Data(), std::nullopt, std::nullopt);
  }

  int sent = 0;

 private:
  const int times_;
};

TEST_F(CoalescingNetworkTest, ADroppedRequestKeepsNoLaterOneWaiting) {
  const auto dropping = std::make_shared<CarelessNetwork>(0);
  CoalescingNetwork coalescing(dropping);
  auto captured = std::make_shared<int>();
  const std::weak_ptr<int> observed = captured;
  coalescing.sendRequest(get("/theme"), [captured = std::move(captured)](auto, auto, auto) {});
  EXPECT_TRUE(observed.expired());
  coalescing.sendRequest(get("/theme"), [](auto, auto, auto) {});
  EXPECT_EQ(dropping->sent, 2);
}

TEST_F(CoalescingNetworkTest, ARequestThatIsAnsweredTwiceCompletesOnce) {
  CoalescingNetwork coalescing(std::make_shared<CarelessNetwork>(2));
  int completed = 0;
  coalescing.sendRequest(get("/theme"), [&](auto, auto, auto) { ++completed; });
  EXPECT_EQ(completed, 1);
}

TEST_F(CoalescingNetworkTest, CompletesEachRequestOfSeveralThreadsOnce) {
  wire->answer("/now", StubNetwork::body("x"));
  wire->answer("/held", StubNetwork::body("x").held());
  std::atomic<int> completed = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int each = 0; each < 100; ++each) {
        network->sendRequest(get("/now"), [&](auto, auto, auto) { ++completed; });
        network->sendRequest(get("/held"), [&](auto, auto, auto) { ++completed; });
        wire->releaseOne();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  wire->releaseAll();
  EXPECT_EQ(completed, 800);
}

}  // namespace
}  // namespace vellora::hostkit
