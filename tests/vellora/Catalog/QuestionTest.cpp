#include "vellora/Catalog/Question.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <coroutine>
#include <exception>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/SlowBuild.h"
#include "tests/vellora/Catalog/CatalogFixture.h"

namespace vellora {
namespace {

using namespace std::chrono_literals;
using testkit::ManualQueue;
using testkit::StubNetwork;

/// A coroutine that runs until it first waits, and is destroyed with its handle.
class Coroutine {
 public:
  struct promise_type {
    Coroutine get_return_object() {
      return Coroutine(std::coroutine_handle<promise_type>::from_promise(*this));
    }
    std::suspend_never initial_suspend() noexcept { return {}; }
    std::suspend_always final_suspend() noexcept { return {}; }
    void return_void() {}
    [[noreturn]] void unhandled_exception() { std::terminate(); }
  };

  explicit Coroutine(std::coroutine_handle<promise_type> handle) : handle_(handle) {}
  Coroutine(Coroutine&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Coroutine& operator=(Coroutine&&) = delete;
  Coroutine(const Coroutine&) = delete;
  Coroutine& operator=(const Coroutine&) = delete;
  ~Coroutine() {
    if (handle_) handle_.destroy();
  }

 private:
  std::coroutine_handle<promise_type> handle_;
};

class QuestionTest : public tests::CatalogFixture {
 protected:
  QuestionTest() { constructAndLoad(); }

  /// From here on a list view hangs.
  Question<ObjectPresentationInfo> hanging(const QuestionOptions& options = {}) {
    network->answer(listViewUrl("00Byy"), StubNetwork::never());
    return catalog->records({"001xx", "00Byy"}, options);
  }

  Coroutine show(std::string& label) {
    const auto answer = co_await catalog->records({"001xx"});
    label = answer.found.at("001xx").typePresentationInfo.label.value_or("");
  }

  Coroutine waitFor(Question<ObjectPresentationInfo> question,
                    std::optional<Answer<ObjectPresentationInfo>>& into) {
    into = co_await std::move(question);
  }
};

TEST_F(QuestionTest, ACallbackRunsOnceOnTheQueueOfItsAnswersAndNeverInsideTheCall) {
  const auto received = ask(catalog->types({"Account"}));
  queues.runAll();
  EXPECT_EQ(received->calls, 0);
  queue->runAll();
  EXPECT_EQ(received->calls, 1);
  timer->advance(1h);
  runAll();
  EXPECT_EQ(received->calls, 1);
}

TEST_F(QuestionTest, AnswersOnAnotherQueueWhereItsOptionsNameOne) {
  const auto manual = std::make_shared<ManualQueue>();
  const std::shared_ptr<DispatchQueue> other = manual;
  const auto received = ask(catalog->types({"Account"}, {.answersOn = other}));
  runAll();
  EXPECT_EQ(received->calls, 0);
  manual->runAll();
  EXPECT_EQ(received->calls, 1);
}

TEST_F(QuestionTest, AnAnswerThatIsThereAlreadyStillComesOnTheQueue) {
  auto question = catalog->types({"Account"});
  runAll();
  const auto received = ask(std::move(question));
  EXPECT_EQ(received->calls, 0);
  queue->runAll();
  EXPECT_EQ(received->calls, 1);
}

TEST_F(QuestionTest, EndsAtItsDeadlineOfTenSeconds) {
  const auto received = ask(hanging());
  runAll();
  timer->advance(9s);
  runAll();
  EXPECT_EQ(received->calls, 0);
  timer->advance(1s);
  runAll();
  EXPECT_EQ(received->calls, 1);
  EXPECT_EQ(received->answer.end, End::timedOut);
}

TEST_F(QuestionTest, EndsAtItsDeadlineThoughNoWorkHasBegun) {
  const auto received = ask(catalog->types({"Account"}, {.deadline = 0s}));
  timer->advance(0s);
  queue->runAll();
  EXPECT_EQ(received->answer.end, End::timedOut);
  EXPECT_EQ(received->answer.missing.at("Account").text(), "timed out");
  cache->clearCalls();
  runAll();
  EXPECT_EQ(received->calls, 1);
  EXPECT_TRUE(cache->callTexts().empty()) << "nobody waits for it any more";
}

TEST_F(QuestionTest, EndsAtItsDeadlineThoughTheHostDropsTheCompletion) {
  class Dropping final : public CorvaneSDK::Network {
   public:
    void sendRequest(const CorvaneSDK::NetRequest&, Completion) override {}
  };
  Catalog lost(std::make_shared<hostkit::StandardPlatformAPI>(std::make_shared<Dropping>(), cache, logger),
               {.cacheTimeout = 0s, .answersOn = queue, .timer = timer});
  int calls = 0;
  clock.advance(1);
  auto token = lost.records({"00Byy"}).then([&](const auto& answer) {
    ++calls;
    EXPECT_EQ(answer.end, End::timedOut);
  });
  runAll();
  timer->advance(10s);
  runAll();
  EXPECT_EQ(calls, 1);
}

TEST_F(QuestionTest, AQuestionThatIsDroppedIsCancelledAndItsRequestsAreLetGo) {
  network->answer(listViewUrl("00Byy"), listViewAnswer("Contact").held());
  {
    const auto dropped = catalog->records({"00Byy"});
    runAll();
    EXPECT_EQ(network->held(), 1U);
  }
  EXPECT_EQ(timer->pending(), 0U);
  cache->clearCalls();
  network->releaseAll();
  EXPECT_TRUE(cache->callTexts().empty()) << "nobody waited";
}

TEST_F(QuestionTest, ADroppedQuestionThatHasNotBegunDoesNothing) {
  cache->clearCalls();
  { const auto dropped = catalog->types({"Account"}); }
  runAll();
  EXPECT_TRUE(cache->callTexts().empty());
}

TEST_F(QuestionTest, AfterCancellingNoCallbackRuns) {
  const auto received = ask(catalog->types({"Account"}));
  queues.runAll();
  EXPECT_EQ(queue->pending(), 1U) << "on its way";
  received->token.cancel();
  runAll();
  EXPECT_EQ(received->calls, 0);
}

TEST_F(QuestionTest, DroppingTheTokenCancelsAndDetachingItDoesNot) {
  int calls = 0;
  const auto count = [&](const auto&) { ++calls; };
  static_cast<void>(catalog->types({"Account"}).then(count));
  runAll();
  EXPECT_EQ(calls, 0);
  catalog->types({"Account"}).then(count).detach();
  runAll();
  EXPECT_EQ(calls, 1);
}

TEST_F(QuestionTest, ATokenThatTakesAnothersPlaceGivesUpTheQuestionOfThatOne) {
  int first = 0;
  int second = 0;
  QuestionToken token = catalog->types({"Account"}).then([&](const auto&) { ++first; });
  token = catalog->types({"Account"}).then([&](const auto&) { ++second; });
  runAll();
  EXPECT_EQ(first, 0);
  EXPECT_EQ(second, 1);
}

TEST_F(QuestionTest, AQuestionThatTakesAnothersPlaceGivesThatOneUp) {
  auto question = hanging();
  runAll();
  EXPECT_GT(timer->pending(), 0U);
  question = catalog->records({"001xx"});
  runAll();
  EXPECT_EQ(timer->pending(), 0U) << "nothing waits for the first one any more";
  EXPECT_EQ(answered(std::move(question)).found.size(), 1U);
}

TEST_F(QuestionTest, CancellingFromInsideTheCallbackIsNoHarm) {
  QuestionToken token;
  int calls = 0;
  token = catalog->types({"Account"}).then([&](const auto&) {
    ++calls;
    token.cancel();
  });
  runAll();
  EXPECT_EQ(calls, 1);
}

TEST_F(QuestionTest, AStopEndsItAsCancelledAndTheAnswerComes) {
  std::stop_source stop;
  const auto token = stop.get_token();
  const auto received = ask(hanging({.stop = token}));
  runAll();
  stop.request_stop();
  EXPECT_EQ(received->calls, 0) << "never inside the call";
  runAll();
  ASSERT_EQ(received->calls, 1);
  EXPECT_EQ(received->answer.end, End::cancelled);
  EXPECT_EQ(received->answer.found.size(), 1U) << "what was there by then";
  EXPECT_EQ(received->answer.missing.at("00Byy").text(), "cancelled");
}

TEST_F(QuestionTest, AStopBeforeItIsAskedEndsItAtOnce) {
  std::stop_source stop;
  const auto token = stop.get_token();
  stop.request_stop();
  EXPECT_EQ(answered(catalog->types({"Account"}, {.stop = token})).end, End::cancelled);
}

TEST_F(QuestionTest, ACoroutineGoesOnOnTheQueueOfItsAnswers) {
  std::string label;
  const auto coroutine = show(label);
  queues.runAll();
  EXPECT_EQ(label, "");
  queue->runAll();
  EXPECT_EQ(label, "Account");
}

TEST_F(QuestionTest, DestroyingASuspendedCoroutineCancels) {
  std::string label;
  {
    const auto coroutine = show(label);
    queues.runAll();
    EXPECT_EQ(queue->pending(), 1U);
  }
  runAll();
  EXPECT_EQ(label, "");
  EXPECT_EQ(timer->pending(), 0U);
}

TEST_F(QuestionTest, ACoroutineGoesOnAtTheDeadlineToo) {
  std::optional<Answer<ObjectPresentationInfo>> answer;
  const auto coroutine = waitFor(hanging({.deadline = 2s}), answer);
  runAll();
  EXPECT_FALSE(answer);
  timer->advance(2s);
  runAll();
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->end, End::timedOut);
}

TEST_F(QuestionTest, WaitingOnTheQueueOfItsAnswersIsRefused) {
  std::optional<Answer<ObjectPresentationInfo>> answer;
  queue->async([&] { answer = catalog->types({"Account"}).get(); });
  queue->runAll();
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->end, End::failed);
  EXPECT_EQ(answer->trouble->text(), "Waiting here would block the answer. Use then or co_await.");
  EXPECT_EQ(answer->missing.at("Account").why(), Missing::Why::failed);
}

TEST_F(QuestionTest, WaitingForAnAnswerThatIsThereIsNotRefused) {
  auto question = catalog->types({"Account"});
  runAll();
  std::optional<Answer<ObjectPresentationInfo>> answer;
  queue->async([&] { answer = std::move(question).get(); });
  queue->runAll();
  EXPECT_EQ(answer->end, End::answered);
}

TEST_F(QuestionTest, WhateverComesAtOneMomentItEndsOnce) {
  for (const bool isDeadlineFirst : {false, true}) {
    network->answer(listViewUrl("00Byy"), listViewAnswer("Contact").held());
    const auto received = ask(catalog->records({"00Byy"}, {.deadline = 5s}));
    runAll();
    if (isDeadlineFirst) timer->advance(5s);
    network->releaseAll();
    if (!isDeadlineFirst) timer->advance(5s);
    runAll();
    EXPECT_EQ(received->calls, 1);
    EXPECT_EQ(received->answer.end, isDeadlineFirst ? End::timedOut : End::answered);
    static_cast<void>(answered(catalog->refresh()));
  }
}

TEST_F(QuestionTest, TenThousandAtATimeAreOneTimersWork) {
  constexpr int count = tests::codeIsSlow ? 1'000 : 10'000;
  std::vector<std::shared_ptr<Received<ObjectPresentationInfo>>> all;
  network->answer(listViewUrl("00Byy"), StubNetwork::never());
  for (int i = 0; i < count; ++i) all.push_back(ask(catalog->records({"00Byy"}, {.deadline = 5s})));
  runAll();
  EXPECT_EQ(network->count(listViewUrl("00Byy")), 1U);
  timer->advance(5s);
  runAll();
  for (const auto& received : all) ASSERT_EQ(received->calls, 1);
}

TEST_F(QuestionTest, AnswersOnAQueueThatIsNamedByItsOwnType) {
  const auto other = std::make_shared<ManualQueue>();
  const auto received = ask(catalog->types({"Account"}, {.answersOn = other}));
  runAll();
  other->runAll();
  EXPECT_EQ(received->calls, 1);
}

TEST_F(QuestionTest, ACoroutineThatWaitsForACancelledQuestionGoesOnAtOnce) {
  std::optional<Answer<ObjectPresentationInfo>> answer;
  auto question = hanging();
  runAll();
  question.cancel();
  const auto coroutine = waitFor(std::move(question), answer);
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->end, End::cancelled);
  EXPECT_EQ(answer->found.size(), 1U);
  EXPECT_EQ(answer->missing.at("00Byy").text(), "cancelled");
}

TEST_F(QuestionTest, ACoroutineThatWaitsBehindTheEndOfTheCatalogueGoesOnAtOnce) {
  std::optional<Answer<ObjectPresentationInfo>> answer;
  auto question = hanging();
  catalog.reset();
  const auto coroutine = waitFor(std::move(question), answer);
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->end, End::cancelled);
}

TEST_F(QuestionTest, WaitingASecondTimeSaysThatTheAnswerIsTaken) {
  auto question = catalog->types({"Account"});
  runAll();
  EXPECT_EQ(std::move(question).get().found.size(), 1U);
  const auto second = std::move(question).get();  // NOLINT(bugprone-use-after-move): it says so
  EXPECT_EQ(second.end, End::failed);
  EXPECT_EQ(second.trouble.value().text(), "The answer was taken already. Wait for a question once.");
  std::optional<Answer<ObjectPresentationInfo>> third;
  const auto coroutine = waitFor(std::move(question), third);  // NOLINT(bugprone-use-after-move)
  ASSERT_TRUE(third);
  EXPECT_EQ(third->end, End::failed);
}

TEST_F(QuestionTest, AnAnswerOnItsWayKeepsNoQueueThatRunsNoMore) {
  auto mainLoop = std::make_shared<ManualQueue>();
  const std::weak_ptr<ManualQueue> weak = mainLoop;
  catalog->types({"Account"}, {.answersOn = mainLoop}).then([](const auto&) {}).detach();
  runAll();
  EXPECT_EQ(mainLoop->pending(), 1U);
  mainLoop.reset();
  EXPECT_TRUE(weak.expired());
}

TEST_F(QuestionTest, CancellingLetsGoOfTheCallbackAndSendsNothingOnItsWay) {
  const auto captured = std::make_shared<int>();
  auto token = hanging().then([captured](const auto&) {});
  runAll();
  token.cancel();
  EXPECT_EQ(captured.use_count(), 1);
  EXPECT_EQ(queue->pending(), 0U);
  auto onItsWay = catalog->types({"Account"}).then([captured](const auto&) {});
  queues.runAll();
  EXPECT_EQ(queue->pending(), 1U);
  onItsWay.cancel();
  EXPECT_EQ(captured.use_count(), 1);
}

TEST_F(QuestionTest, ACallbackThatIsAddedBehindTheCancellingIsLetGoOf) {
  const auto captured = std::make_shared<int>();
  auto question = hanging();
  question.cancel();
  const auto token = std::move(question).then([captured](const auto&) {});
  EXPECT_EQ(captured.use_count(), 1);
}

TEST_F(QuestionTest, TheEndOfTheCatalogueLetsGoOfCallbacksThatTheirTokensOutlive) {
  const auto captured = std::make_shared<int>();
  const auto waiting = hanging().then([captured](const auto&) {});
  const auto onItsWay = catalog->types({"Account"}).then([captured](const auto&) {});
  queues.runAll();
  EXPECT_EQ(queue->pending(), 1U);
  catalog.reset();
  EXPECT_EQ(queue->pending(), 1U) << "nothing was sent to a queue that may run no more";
  EXPECT_EQ(captured.use_count(), 2) << "only what was on its way";
  queue->runAll();
  EXPECT_EQ(captured.use_count(), 1);
}

TEST_F(QuestionTest, ADeadlineThatIsNoNumberIsAYear) {
  const auto received = ask(hanging({.deadline = std::chrono::duration<double>(std::nan(""))}));
  runAll();
  timer->advance(364 * 24h);
  runAll();
  EXPECT_EQ(received->calls, 0);
  timer->advance(24h);
  runAll();
  EXPECT_EQ(received->calls, 1);
}

TEST_F(QuestionTest, ACallbackBehindACoroutineComesOnTheQueueOfItsAnswersToo) {
  auto question = catalog->types({"Account"});
  int calls = 0;
  QuestionToken token;
  const auto waitTwice = [&]() -> Coroutine {
    auto& same = question;  // g++ 12 would copy what a capture refers to
    const auto first = co_await same;
    EXPECT_EQ(first.found.size(), 1U);
    token = std::move(same).then([&](const auto& answer) {
      EXPECT_EQ(answer.end, End::failed) << "the answer was taken already";
      ++calls;
    });
  };
  const auto coroutine = waitTwice();
  queues.runAll();
  queue->runNext();
  queues.runAll();
  EXPECT_EQ(calls, 0);
  runAll();
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace vellora
