#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "tests/vellora/Catalog/CatalogFixture.h"

// What is sent again, when, and for whom.

namespace vellora {
namespace {

using namespace std::chrono_literals;
using testkit::StubNetwork;

constexpr const char* layoutUrl = "/services/data/v50.0/search/layout?q=Account";
constexpr const char* compactUrl = "/services/data/v53.0/compactLayouts?q=Account";

class CatalogRetryTest : public tests::CatalogFixture {
 protected:
  /// Lets `time` pass, and everything run.
  void pass(TimedQueue::Delay time) {
    timer->advance(time);
    runAll();
  }

  /// Types fail so often, each time in a way that may pass.
  void failTypes(int times, std::optional<TimedQueue::Delay> after = std::nullopt) {
    std::vector<testkit::StubAnswer> answers(static_cast<std::size_t>(times), busy(after));
    answers.push_back(StubNetwork::body(typesBody()));
    network->answer(typesUrl, answers);
  }
};

TEST_F(CatalogRetryTest, SendsAgainWhatMayPassAfterPausesThatDouble) {
  failTypes(3);
  constructAndLoad();
  const auto received = ask(catalog->types({"Account"}));
  runAll();
  std::size_t sent = 1;
  for (const auto pause : {500ms, 1000ms, 2000ms}) {
    pass(pause - 1ms);
    EXPECT_EQ(network->count(typesUrl), sent);
    pass(1ms);
    EXPECT_EQ(network->count(typesUrl), ++sent);
  }
  EXPECT_EQ(received->calls, 1);
  EXPECT_EQ(received->answer.found.size(), 1U);
  EXPECT_FALSE(received->answer.trouble);
  EXPECT_EQ(catalog->readiness().text(), "ready");
  EXPECT_EQ(network->count(themesUrl), 1U) << "which did not fail";
}

TEST_F(CatalogRetryTest, ShortensPausesAtRandomByUpToAHalf) {
  catalogOptions.retry.jitter = [] { return 0.0; };
  failTypes(1);
  constructAndLoad();
  pass(249ms);
  EXPECT_EQ(network->count(typesUrl), 1U);
  pass(1ms);
  EXPECT_EQ(network->count(typesUrl), 2U);
}

TEST_F(CatalogRetryTest, GivesUpAfterFourAttemptsAndSaysWhy) {
  network->answer(typesUrl, busy());
  constructAndLoad();
  const auto received = ask(catalog->types({"Account"}));
  runAll();
  for (const auto pause : {500ms, 1000ms, 2000ms}) pass(pause);
  EXPECT_EQ(network->count(typesUrl), 4U);
  EXPECT_EQ(received->answer.end, End::failed);
  EXPECT_EQ(received->answer.missing.at("Account").text(),
            std::string("could not be asked: busy (") + typesUrl + ")");
}

TEST_F(CatalogRetryTest, GivesUpAfterAHundredAttemptsHoweverManyAreWanted) {
  catalogOptions.retry.attempts = 1'000'000'000;
  catalogOptions.loadsAtOnce = false;  // a load gives up earlier
  network->answer(typesUrl, busy());
  constructAndLoad();
  const auto received = ask(catalog->types({"Account"}, {.deadline = 24h}));
  for (int i = 0; i < 2 * RetryOptions::mostAttempts; ++i) pass(catalogOptions.retry.longestPause);
  EXPECT_EQ(network->count(typesUrl), 100U);
  EXPECT_EQ(received->calls, 1);
  EXPECT_EQ(received->answer.missing.count("Account"), 1U);
}

TEST_F(CatalogRetryTest, NeverSendsAgainWhatARetryCannotMend) {
  network->answer(typesUrl, down());
  network->answer(themesUrl, StubNetwork::body("no JSON"));
  constructAndLoad();
  EXPECT_EQ(timer->pending(), 0U);
  pass(1h);
  EXPECT_EQ(network->count(), 2U);
  EXPECT_EQ(catalog->readiness().readinessCase(), Readiness::Case::failed);
}

TEST_F(CatalogRetryTest, SendsNothingAgainWhereTheOptionSaysSo) {
  catalogOptions.retry.attempts = 1;
  failTypes(1);
  constructAndLoad();
  EXPECT_EQ(catalog->readiness().text(), std::string("failed: busy (") + typesUrl + ")");
  EXPECT_EQ(timer->pending(), 0U);
}

TEST_F(CatalogRetryTest, LeavesAServerAloneForAsLongAsItWants) {
  failTypes(1, 3s);
  constructAndLoad();
  pass(3499ms);
  EXPECT_EQ(network->count(typesUrl), 1U);
  pass(1ms);
  EXPECT_EQ(network->count(typesUrl), 2U);
}

TEST_F(CatalogRetryTest, FailsAtOnceWithTheReasonWhereTheDeadlineWouldComeFirst) {
  constructAndLoad();
  network->answer(typesUrl, busy(4500ms));  // and half a second of the first pause
  const auto answer = answered(catalog->refresh({.deadline = 5s}));
  EXPECT_EQ(answer.end, End::failed);
  EXPECT_EQ(answer.trouble.value().text(), std::string("busy (") + typesUrl + ")");
  EXPECT_EQ(network->count(typesUrl), 2U);
}

TEST_F(CatalogRetryTest, TheFirstLoadWaitsForNoLongerThanAQuestionBehindIt) {
  failTypes(1, 10s);
  constructAndLoad();
  EXPECT_EQ(catalog->readiness().readinessCase(), Readiness::Case::failed);
}

TEST_F(CatalogRetryTest, AllWhoWaitForARequestShareItsAttempts) {
  failTypes(1);
  construct();
  const auto first = ask(catalog->types({"Account"}));
  const auto second = ask(catalog->allTypes());
  runAll();
  pass(500ms);
  EXPECT_EQ(network->count(typesUrl), 2U);
  EXPECT_EQ(first->answer.found.size(), 1U);
  EXPECT_EQ(second->answer.found.size(), 3U);
}

TEST_F(CatalogRetryTest, IsLetGoOfWhenNobodyWaitsAnyMore) {
  constructAndLoad();
  network->answer(listViewUrl("00Byy"), busy());
  auto received = ask(catalog->records({"00Byy"}));
  runAll();
  EXPECT_EQ(timer->pending(), 4U) << "the deadline, two looks into the cache before it, and the pause";
  received->token.cancel();
  EXPECT_EQ(timer->pending(), 0U);
  pass(1h);
  EXPECT_EQ(network->count(listViewUrl("00Byy")), 1U);
}

TEST_F(CatalogRetryTest, NothingIsSentAgainOnceTheCatalogueIsDestroyedOrHasForgotten) {
  failTypes(1);
  constructAndLoad();
  catalog->forget();
  EXPECT_EQ(timer->pending(), 0U);
  network->answer(themesUrl, busy());
  construct();
  runAll();
  const auto sent = network->count();
  catalog.reset();
  EXPECT_EQ(timer->pending(), 0U);
  pass(1h);
  EXPECT_EQ(network->count(), sent);
}

TEST_F(CatalogRetryTest, SendsListViewsAndLayoutsAgainToo) {
  constructAndLoad();
  network->answer(listViewUrl("00Bxx"), {busy(), listViewAnswer("Contact")});
  network->answer(layoutUrl, {busy(), StubNetwork::body(R"([{"objectType":"Account","searchColumns":[]}])")});
  const auto record = ask(catalog->records({"00Bxx"}));
  const auto columns = ask(catalog->searchColumns({"Account"}));
  runAll();
  pass(500ms);
  EXPECT_EQ(record->answer.found.size(), 1U);
  EXPECT_EQ(columns->answer.found.size(), 1U);
}

TEST_F(CatalogRetryTest, SendsForNameFieldsAgainWithoutFetchingTheLayoutsAnew) {
  constructAndLoad();
  network->answer(
      compactUrl,
      StubNetwork::body(
          R"({"Account":{"objectType":"Account","fieldItems":[{"label":"Owner","layoutComponents":[)"
          R"({"value":"OwnerId","details":{"label":"Owner","htmlFormatted":false,"type":"reference",)"
          R"("referenceTo":["User"],"relationshipName":"Owner"}}]}]}})"));
  network->answerNext(busy());
  network->answerNext(StubNetwork::body(
      R"({"records":[{"EntityDefinition":{"QualifiedApiName":"User"},"QualifiedApiName":"Name"}]})"));
  const auto received = ask(catalog->headlines({"Account"}));
  runAll();
  EXPECT_EQ(received->calls, 0);
  pass(500ms);
  EXPECT_EQ(received->calls, 1);
  EXPECT_EQ(network->count(compactUrl), 1U);
  EXPECT_EQ(network->count(), 5U);
}

}  // namespace
}  // namespace vellora
