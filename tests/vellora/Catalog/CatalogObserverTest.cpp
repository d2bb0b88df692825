#include "vellora/Catalog/CatalogObserver.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/vellora/Catalog/CatalogFixture.h"

namespace vellora {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;
using testkit::StubNetwork;
using Why = Missing::Why;
using Origin = QuestionReport::Origin;
using Outcome = RequestReport::Outcome;

/// Keeps what it is told.
class Recorder final : public CatalogObserver {
 public:
  void questionEnded(const QuestionReport& report) override {
    questions.push_back(report);
    if (const auto act = std::exchange(onQuestion, nullptr)) act();
  }
  void requestSent(const RequestReport& report) override { sent.push_back(report); }
  void requestEnded(const RequestReport& report) override { ended.push_back(report); }

  std::vector<QuestionReport> questions;
  std::vector<RequestReport> sent;
  std::vector<RequestReport> ended;
  std::function<void()> onQuestion;  // once
};

class CatalogObserverTest : public tests::CatalogFixture {
 protected:
  CatalogObserverTest() { catalogOptions.observer = observer; }

  static std::vector<std::string> pathsOf(const std::vector<RequestReport>& reports) {
    std::vector<std::string> paths;
    for (const auto& report : reports) paths.push_back(report.path);
    return paths;
  }

  const std::shared_ptr<Recorder> observer = std::make_shared<Recorder>();
};

TEST_F(CatalogObserverTest, TellsOfTheFirstLoadAndItsRequests) {
  constructAndLoad();
  ASSERT_EQ(observer->questions.size(), 1U);
  EXPECT_EQ(observer->questions[0].question, (QuestionName{1, QuestionKind::load}));
  EXPECT_EQ(observer->questions[0].end, End::answered);
  EXPECT_THAT(pathsOf(observer->sent), UnorderedElementsAre(typesUrl, themesUrl));
  EXPECT_THAT(pathsOf(observer->ended), UnorderedElementsAre(typesUrl, themesUrl));
  for (const auto& report : observer->ended) {
    EXPECT_EQ(report.cause, (QuestionName{1, QuestionKind::load}));
    EXPECT_EQ(report.outcome, Outcome::body);
    EXPECT_EQ(report.bytes, (report.path == typesUrl ? typesBody() : themesBody()).size());
    EXPECT_EQ(report.attempt, 1);
  }
}

TEST_F(CatalogObserverTest, TellsOfAQuestionWhatItCameTo) {
  constructAndLoad();
  clock.advance(60);
  static_cast<void>(answered(catalog->types({"Account", "Nope", "Neither", ""})));
  const auto& report = observer->questions.back();
  EXPECT_EQ(report.question, (QuestionName{2, QuestionKind::types}));
  EXPECT_EQ(report.keys, 4U);
  EXPECT_EQ(report.end, End::answered);
  EXPECT_EQ(report.found, 1U);
  EXPECT_THAT(report.missing, ElementsAre(Pair(Why::unknown, 2U), Pair(Why::notAsked, 1U)));
  EXPECT_EQ(report.origin, Origin::cache);
  EXPECT_EQ(report.age, 60s);
  EXPECT_FALSE(report.isStale);
  EXPECT_EQ(observer->sent.size(), 2U) << "of the first load";
}

TEST_F(CatalogObserverTest, CountsAKeyOnceHoweverOftenItIsAskedFor) {
  constructAndLoad();
  static_cast<void>(answered(catalog->types({"Nope", "Account", "Nope"})));
  EXPECT_EQ(observer->questions.back().keys, 2U);
  EXPECT_THAT(observer->questions.back().missing, ElementsAre(Pair(Why::unknown, 1U)));
}

TEST_F(CatalogObserverTest, SaysThatNothingCameFromNowhere) {
  constructAndLoad();
  static_cast<void>(answered(catalog->types({"Nope"})));
  EXPECT_EQ(observer->questions.back().found, 0U);
  EXPECT_EQ(observer->questions.back().origin, Origin::nowhere);
  EXPECT_EQ(observer->questions.back().age, std::nullopt) << "nothing is as old as the lists";
}

TEST_F(CatalogObserverTest, SaysThatAnAnswerCameFromTheServerAlsoWhereAnotherQuestionAsked) {
  network->answer(typesUrl, StubNetwork::body(typesBody()).held());
  construct();
  const auto received = ask(catalog->types({"Account"}));
  runAll();
  timer->advance(2s);
  network->releaseAll();
  runAll();
  ASSERT_EQ(observer->questions.size(), 2U);
  EXPECT_EQ(observer->questions.back().question.kind, QuestionKind::types);
  EXPECT_EQ(observer->questions.back().origin, Origin::server);
  EXPECT_EQ(observer->questions.back().time, 2s);
  EXPECT_THAT(pathsOf(observer->sent), UnorderedElementsAre(typesUrl, themesUrl));
  EXPECT_EQ(observer->ended.back().time, 2s);
}

TEST_F(CatalogObserverTest, SaysThatAStaleAnswerCameFromTheCacheWhenTheServerIsDown) {
  constructAndLoad();
  clock.advance(7200);
  network->answer(typesUrl, down());
  network->answer(themesUrl, down());
  static_cast<void>(answered(catalog->types({"Account"})));
  const auto& report = observer->questions.back();
  EXPECT_EQ(report.origin, Origin::cache);
  EXPECT_TRUE(report.isStale);
  EXPECT_EQ(report.age, 2h);
  EXPECT_EQ(observer->ended.back().outcome, Outcome::error);
  EXPECT_FALSE(observer->ended.back().isPassing);
}

TEST_F(CatalogObserverTest, SaysNoAgeOfWhatAListViewLists) {
  constructAndLoad();
  static_cast<void>(answered(catalog->records({"00Bxx"})));
  EXPECT_EQ(observer->questions.back().found, 1U);
  EXPECT_EQ(observer->questions.back().age, std::nullopt);
}

TEST_F(CatalogObserverTest, AnAnswerIsAsStaleAndOldAsTheOldestInIt) {
  const auto columns = [this](const std::string& type, auto&& answer) {
    network->answer("/services/data/v50.0/search/layout?q=" + type, answer);
  };
  for (const std::string type : {"Account", "Contact", "Order"})
    columns(type, StubNetwork::body(R"([{"objectType":")" + type + R"(","searchColumns":[]}])"));
  constructAndLoad();
  static_cast<void>(answered(catalog->searchColumns({"Account"})));
  clock.advance(7200);
  static_cast<void>(answered(catalog->searchColumns({"Contact"})));
  clock.advance(60);
  static_cast<void>(answered(catalog->searchColumns({"Order"})));
  columns("Account", down());
  EXPECT_EQ(answered(catalog->searchColumns({"Account", "Contact", "Order"})).found.size(), 3U);
  EXPECT_TRUE(observer->questions.back().isStale);
  EXPECT_EQ(observer->questions.back().age, 2h + 1min);
}

TEST_F(CatalogObserverTest, EachAttemptIsToldWithItsNumber) {
  network->answer(typesUrl, {busy(), StubNetwork::body(typesBody())});
  constructAndLoad();
  timer->advance(500ms);
  runAll();
  std::vector<std::pair<int, bool>> attempts;
  for (const auto& report : observer->ended) {
    if (report.path == typesUrl) attempts.emplace_back(report.attempt, report.isPassing);
  }
  EXPECT_THAT(attempts, ElementsAre(Pair(1, true), Pair(2, false)));
}

TEST_F(CatalogObserverTest, ARequestThatNeverEndsIsToldOfWhenItIsSent) {
  constructAndLoad();
  network->answer(listViewUrl("00Byy"), StubNetwork::never());
  const auto received = ask(catalog->records({"00Byy"}));
  runAll();
  timer->advance(10s);
  runAll();
  EXPECT_EQ(observer->sent.back().path, "/services/data/v50.0/query");
  EXPECT_EQ(observer->sent.back().cause, (QuestionName{2, QuestionKind::records}));
  EXPECT_EQ(observer->ended.size(), 2U);
  EXPECT_EQ(observer->questions.back().end, End::timedOut);
  EXPECT_THAT(observer->questions.back().missing, ElementsAre(Pair(Why::timedOut, 1U)));
}

TEST_F(CatalogObserverTest, ANetworkThatAnswersTwiceIsToldOfOnce) {
  class AnsweringTwice final : public CorvaneSDK::Network {
   public:
    explicit AnsweringTwice(std::shared_ptr<CorvaneSDK::Network> next) : next_(std::move(next)) {}
    void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override {
      next_->sendRequest(request, [completion](const auto&... answer) {
        completion(answer...);
        completion(answer...);
      });
    }

   private:
    const std::shared_ptr<CorvaneSDK::Network> next_;
  };
  const auto twice = std::make_shared<AnsweringTwice>(network);
  catalog.emplace(std::make_shared<hostkit::StandardPlatformAPI>(twice, cache, logger), catalogOptions);
  runAll();
  EXPECT_THAT(pathsOf(observer->ended), UnorderedElementsAre(themesUrl, typesUrl));
}

TEST_F(CatalogObserverTest, IsToldNoKeyUnlessItIsAskedFor) {
  network->answer(listViewUrl("00Byy"), StubNetwork::failure(tests::TestError{"no list view 00Byy"}));
  constructAndLoad();
  static_cast<void>(answered(catalog->records({"001xx", "00Byy"})));
  EXPECT_THAT(observer->questions.back().reasons, IsEmpty());
  EXPECT_FALSE(observer->questions.back().trouble);
  EXPECT_EQ(observer->ended.back().url, "");
  EXPECT_FALSE(observer->ended.back().error);
  EXPECT_EQ(observer->ended.back().path, "/services/data/v50.0/query");
}

TEST_F(CatalogObserverTest, IsToldKeysUrlsAndErrorsWhereTheOptionSaysSo) {
  catalogOptions.observesKeys = true;
  network->answer(listViewUrl("00Byy"), StubNetwork::failure(tests::TestError{"no list view 00Byy"}));
  constructAndLoad();
  static_cast<void>(answered(catalog->records({"001xx", "00Byy"})));
  const auto& reasons = observer->questions.back().reasons;
  EXPECT_THAT(keysOf(reasons), ElementsAre("001xx", "00Byy"));
  EXPECT_FALSE(reasons.at("001xx"));
  EXPECT_EQ(reasons.at("00Byy").value().why(), Why::failed);
  EXPECT_TRUE(observer->questions.back().trouble);
  EXPECT_EQ(observer->ended.back().url, listViewUrl("00Byy"));
  EXPECT_EQ(observer->ended.back().error.value().localizedDescription(), "no list view 00Byy");
}

TEST_F(CatalogObserverTest, IsCalledOnAQueueOfItsOwn) {
  construct();
  EXPECT_THAT(observer->sent, IsEmpty()) << "never inside a call";
  EXPECT_THAT(queues.made(), testing::Contains(testing::Field(&tests::ManualQueues::SerialQueue::label,
                                                              "Catalog.observer")));
}

TEST_F(CatalogObserverTest, OneThatThrowsHarmsNobody) {
  observer->onQuestion = [] { throw std::runtime_error("full"); };
  constructAndLoad();
  EXPECT_EQ(answered(catalog->types({"Account"})).found.size(), 1U);
  EXPECT_EQ(observer->questions.size(), 2U);
}

TEST_F(CatalogObserverTest, MayAskTheCatalogueButNotWaitForIt) {
  constructAndLoad();
  std::vector<End> ends;
  QuestionToken token;
  observer->onQuestion = [&] {
    token = catalog->types({"Account"}).then([&](const auto& answer) { ends.push_back(answer.end); });
    ends.push_back(catalog->types({"Account"}).get().end);
  };
  static_cast<void>(answered(catalog->types({"Contact"})));
  EXPECT_THAT(ends, ElementsAre(End::failed, End::answered));
}

TEST_F(CatalogObserverTest, MayDestroyTheCatalogue) {
  constructAndLoad();
  observer->onQuestion = [&] { catalog.reset(); };
  const auto received = ask(catalog->types({"Account"}));
  runAll();
  EXPECT_FALSE(catalog);
  EXPECT_EQ(observer->questions.size(), 2U);
}

TEST_F(CatalogObserverTest, IsToldNothingOnceTheCatalogueIsDestroyed) {
  constructAndLoad();
  const auto received = ask(catalog->types({"Account"}));
  queues.runNext();
  catalog.reset();
  runAll();
  EXPECT_EQ(observer->questions.size(), 1U);
}

}  // namespace
}  // namespace vellora
