#include "testkit/StubNetwork.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/Requests.h"

namespace vellora::testkit {
namespace {

using tests::get;
using Texts = std::vector<std::string>;

struct Unreachable {
  [[nodiscard]] static std::string localizedDescription() { return "unreachable"; }
};

class StubNetworkTest : public testing::Test {
 protected:
  /// Sends a GET whose answer is added to `answers`: the body, "error: …" or "nothing".
  void send(const std::string& url) {
    network->sendRequest(get(url), [this](const auto& data, const auto& error, const auto& response) {
      answers.push_back(data    ? std::string(data->view())
                        : error ? "error: " + error->localizedDescription()
                                : "nothing");
      lastResponse = response;
      lastThread = std::this_thread::get_id();
    });
  }

  Texts answers;
  std::optional<URLResponse> lastResponse;
  std::thread::id lastThread;
  std::unique_ptr<StubNetwork> network = std::make_unique<StubNetwork>();
};

TEST_F(StubNetworkTest, AnswersInsideSendRequest) {
  network->answer("/theme", StubNetwork::body("themes"));
  network->answer("/down", StubNetwork::failure(Unreachable{}));
  network->answer("/silent", StubNetwork::nothing());

  send("/theme");
  EXPECT_EQ(answers, Texts{"themes"});
  EXPECT_EQ(lastResponse, std::nullopt);
  EXPECT_EQ(lastThread, std::this_thread::get_id());
  send("/down");
  send("/silent");
  EXPECT_EQ(answers, (Texts{"themes", "error: unreachable", "nothing"}));
}

TEST_F(StubNetworkTest, AnEmptyBodyIsPresent) {
  network->answer("/empty", StubNetwork::body(""));
  send("/empty");
  EXPECT_EQ(answers, Texts{""});
}

TEST_F(StubNetworkTest, DeliversTheResponseThatGoesWithAnAnswer) {
  const URLResponse response{"https://example.test/theme", 503, {{"Retry-After", "1"}}};
  network->answer("/theme", StubNetwork::body("busy").with(response));
  send("/theme");
  EXPECT_EQ(lastResponse, response);
}

TEST_F(StubNetworkTest, AnExactUrlIncludesTheQuery) {
  network->answer("/layout?q=Account", StubNetwork::body("layout"));
  send("/layout?q=Account");
  send("/layout?q=Account,Contact");
  EXPECT_EQ(answers[0], "layout");
  EXPECT_EQ(network->unscripted(), Texts{"/layout?q=Account,Contact"});
}

TEST_F(StubNetworkTest, AnswersByPrefixAndByPredicate) {
  network->answerPrefix("/query?", StubNetwork::body("rows"));
  network->answerWhen([](const auto& request) { return request.base().timeoutInterval == 60.0; },
                      StubNetwork::body("a minute"));
  network->answerPrefix("/query?", StubNetwork::body("newer rows"));
  send("/query?q=1");
  send("/theme");
  EXPECT_EQ(answers, (Texts{"newer rows", "a minute"}));
}

TEST_F(StubNetworkTest, TheNewestRuleThatMatchesAnswers) {
  network->answer("/theme", StubNetwork::body("old"));
  send("/theme");
  network->answer("/theme", StubNetwork::body("new"));
  send("/theme");
  EXPECT_EQ(answers, (Texts{"old", "new"}));
}

TEST_F(StubNetworkTest, AListOfAnswersIsGivenInTurnAndItsLastStays) {
  network->answer("/theme", {StubNetwork::failure(Unreachable{}), StubNetwork::body("themes")});
  send("/theme");
  send("/theme");
  send("/theme");
  EXPECT_EQ(answers, (Texts{"error: unreachable", "themes", "themes"}));
}

TEST_F(StubNetworkTest, QueuedAnswersServeWhatNoRuleMatchesOnceEach) {
  network->answer("/theme", StubNetwork::body("themes"));
  network->answerNext(StubNetwork::body("first"));
  network->answerNext(StubNetwork::body("second"));
  send("/a");
  send("/theme");
  send("/b");
  EXPECT_EQ(answers, (Texts{"first", "themes", "second"}));
  send("/c");
  EXPECT_EQ(network->unscripted(), Texts{"/c"});
}

TEST_F(StubNetworkTest, AnUnscriptedRequestFailsWithAClearError) {
  send("/theme");
  EXPECT_EQ(answers,
            Texts{"error: StubNetwork has no answer for /theme: script one before the request is sent"});
  EXPECT_EQ(network->unscripted(), Texts{"/theme"});
  EXPECT_EQ(network->count(), 1U);

  std::optional<Error> received;
  network->sendRequest(get("/theme"), [&](auto, const auto& error, auto) { received = error; });
  ASSERT_NE(received->as<StubNetwork::Unscripted>(), nullptr);
  EXPECT_EQ(received->as<StubNetwork::Unscripted>()->url, "/theme");
}

TEST_F(StubNetworkTest, RecordsRequestsWithTheirThreads) {
  network->answerPrefix("/", StubNetwork::nothing());
  send("/a");
  std::thread::id other;
  std::thread([&] {
    other = std::this_thread::get_id();
    network->sendRequest(get("/b", 5.0), [](auto, auto, auto) {});
  }).join();
  send("/a");

  EXPECT_EQ(network->urls(), (Texts{"/a", "/b", "/a"}));
  EXPECT_EQ(network->count("/a"), 2U);
  EXPECT_EQ(network->count(), 3U);
  EXPECT_EQ(network->requests()[0].thread, std::this_thread::get_id());
  EXPECT_EQ(network->requests()[1].thread, other);
  EXPECT_EQ(network->requests()[1].request, get("/b", 5.0));
}

TEST_F(StubNetworkTest, ReleaseOneDeliversTheOldestHeldAnswer) {
  network->answerNext(StubNetwork::body("first").held());
  network->answerNext(StubNetwork::body("second").held());
  send("/a");
  send("/b");
  EXPECT_TRUE(answers.empty());
  EXPECT_EQ(network->held(), 2U);

  EXPECT_TRUE(network->releaseOne());
  EXPECT_EQ(answers, Texts{"first"});
  EXPECT_TRUE(network->releaseOne());
  EXPECT_FALSE(network->releaseOne());
  EXPECT_EQ(answers, (Texts{"first", "second"}));
}

TEST_F(StubNetworkTest, ReleaseDeliversWhatIsHeldForAUrl) {
  network->answer("/a", StubNetwork::body("a").held());
  network->answer("/b", StubNetwork::body("b").held());
  send("/a");
  send("/b");
  send("/a");

  EXPECT_EQ(network->release("/a"), 2U);
  EXPECT_EQ(answers, (Texts{"a", "a"}));
  EXPECT_EQ(network->releaseAll(), 1U);
  EXPECT_EQ(answers, (Texts{"a", "a", "b"}));
  EXPECT_EQ(network->releaseAll(), 0U);
}

TEST_F(StubNetworkTest, DeliversHeldAnswersOnTheReleasingThread) {
  network->answer("/a", StubNetwork::body("a").held());
  send("/a");
  std::thread::id releasing;
  std::thread([&] {
    releasing = std::this_thread::get_id();
    network->releaseAll();
  }).join();
  EXPECT_EQ(lastThread, releasing);
}

TEST_F(StubNetworkTest, WhatIsHeldDuringAReleaseStaysHeld) {
  network->answer("/a", StubNetwork::body("a").held());
  network->sendRequest(get("/a"), [this](auto, auto, auto) { send("/a"); });
  EXPECT_EQ(network->releaseAll(), 1U);
  EXPECT_TRUE(answers.empty());
  EXPECT_EQ(network->held(), 1U);
}

TEST_F(StubNetworkTest, ACompletionMayScriptAndSend) {
  network->answer("/a", StubNetwork::body("a"));
  network->sendRequest(get("/a"), [this](auto, auto, auto) {
    network->answer("/b", StubNetwork::body("b"));
    send("/b");
  });
  EXPECT_EQ(answers, Texts{"b"});
}

TEST_F(StubNetworkTest, ACompletionMayDropTheNetwork) {
  network->answer("/a", StubNetwork::body("a").held());
  bool completed = false;
  network->sendRequest(get("/a"), [&](auto, auto, auto) {
    network.reset();
    completed = true;
  });
  network->releaseAll();
  EXPECT_TRUE(completed);
}

TEST_F(StubNetworkTest, NeverLeavesTheRequestHanging) {
  network->answer("/a", StubNetwork::never());
  send("/a");
  EXPECT_EQ(network->releaseAll(), 0U);
  EXPECT_EQ(network->held(), 0U);
  EXPECT_EQ(network->count("/a"), 1U);
  EXPECT_TRUE(answers.empty());
}

TEST_F(StubNetworkTest, DropsCompletionsThatWereNeverCalled) {
  network->answer("/held", StubNetwork::body("a").held());
  network->answer("/never", StubNetwork::never());
  auto captured = std::make_shared<int>();
  const std::weak_ptr<int> observed = captured;
  network->sendRequest(get("/held"), [captured](auto, auto, auto) { ADD_FAILURE() << "must not be called"; });
  network->sendRequest(get("/never"),
                       [captured](auto, auto, auto) { ADD_FAILURE() << "must not be called"; });
  captured.reset();

  EXPECT_FALSE(observed.expired());
  network.reset();
  EXPECT_TRUE(observed.expired());
}

TEST_F(StubNetworkTest, WaitsForRequestsOfAnotherThread) {
  network->answerPrefix("/", StubNetwork::body("a").held());
  std::thread other([&] { send("/a"); });
  EXPECT_TRUE(network->waitForRequests(1));
  EXPECT_EQ(network->releaseAll(), 1U);
  EXPECT_EQ(answers, Texts{"a"});
  other.join();
  EXPECT_FALSE(network->waitForRequests(2, std::chrono::milliseconds(1)));
}

TEST_F(StubNetworkTest, CompletesEveryRequestOfSeveralThreadsOnce) {
  network->answerPrefix("/", StubNetwork::body("a"));
  network->answer("/held", StubNetwork::body("b").held());
  std::atomic<int> completed = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int each = 0; each < 50; ++each) {
        network->sendRequest(get("/now"), [&](auto, auto, auto) { ++completed; });
        network->sendRequest(get("/held"), [&](auto, auto, auto) { ++completed; });
        network->releaseOne();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  network->releaseAll();
  EXPECT_EQ(completed, 400);
  EXPECT_EQ(network->count(), 400U);
}

}  // namespace
}  // namespace vellora::testkit
