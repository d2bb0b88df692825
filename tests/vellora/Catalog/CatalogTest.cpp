#include "vellora/Catalog/Catalog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/vellora/Catalog/CatalogFixture.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Host/LogLevel.h"
#include "vellora/Host/Query.h"
#include "vellora/Services/VelloraService.h"

namespace vellora {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testkit::StubNetwork;
using ReadinessCase = Readiness::Case;

using CatalogTest = tests::CatalogFixture;

TEST_F(CatalogTest, LoadsBothListsAtOnceAndSaysWhenTheyAreThere) {
  construct();
  EXPECT_EQ(catalog->readiness().text(), "loading");
  runAll();
  EXPECT_EQ(catalog->readiness().text(), "ready");
  EXPECT_THAT(network->urls(), testing::UnorderedElementsAre(typesUrl, themesUrl));
  EXPECT_EQ(timer->pending(), 0U) << "nothing is left of the load";
}

TEST_F(CatalogTest, LogsThatBothListsWereFetched) {
  constructAndLoad();
  EXPECT_THAT(logger->texts(CorvaneSDK::LogLevel::info),
              testing::IsSupersetOf({"fetchedSObjects(), sObjects was fetched then cached",
                                     "fetchedThemes(), themes was fetched then cached"}));
}

TEST_F(CatalogTest, LoadsNothingBeforeAQuestionNeedsItWhenToldSo) {
  const std::string columnsUrl = "/services/data/v50.0/search/layout?q=Account";
  network->answer(columnsUrl, StubNetwork::body("[]"));
  catalog.emplace(std::make_shared<hostkit::StandardPlatformAPI>(network, cache, logger),
                  CatalogOptions{.answersOn = queue, .timer = timer, .loadsAtOnce = false});
  runAll();
  EXPECT_EQ(catalog->readiness().text(), "loading");
  static_cast<void>(answered(catalog->searchColumns({"Account"})));
  EXPECT_THAT(network->urls(), ElementsAre(columnsUrl)) << "layouts need no list";
  static_cast<void>(answered(catalog->types({"Account"})));
  EXPECT_EQ(catalog->readiness().text(), "ready");
  EXPECT_EQ(network->count(), 3U);
}

TEST_F(CatalogTest, AFreshCacheIsReadyWithoutARequest) {
  constructAndLoad();
  constructAndLoad();
  EXPECT_EQ(catalog->readiness().text(), "ready");
  EXPECT_EQ(network->count(), 2U);
}

TEST_F(CatalogTest, SaysWhyItIsNotReadyUntilALaterQuestionMakesItSo) {
  network->answer(typesUrl, down());
  constructAndLoad();
  EXPECT_EQ(catalog->readiness().text(), std::string("failed: down (") + typesUrl + ")");
  network->answer(typesUrl, StubNetwork::body(typesBody()));
  static_cast<void>(answered(catalog->types({"Account"})));
  EXPECT_EQ(catalog->readiness().text(), "ready");
}

TEST_F(CatalogTest, AFirstLoadThatHangsIsGivenUpAndTheNextQuestionFetchesAnew) {
  network->answer(typesUrl, StubNetwork::never());
  constructAndLoad();
  timer->advance(60s);
  runAll();
  EXPECT_EQ(catalog->readiness().text(), "failed: The request was not answered in time.");
  network->answer(typesUrl, StubNetwork::body(typesBody()));
  EXPECT_EQ(answered(catalog->types({"Account"})).found.size(), 1U);
}

TEST_F(CatalogTest, StreamsItsReadinessOnTheQueueOfItsAnswers) {
  construct();
  std::vector<std::string> texts;
  const auto token =
      catalog->readinessStream().sink([&](const Readiness& readiness) { texts.push_back(readiness.text()); });
  EXPECT_THAT(texts, IsEmpty()) << "never inside the call";
  runAll();
  EXPECT_THAT(texts, ElementsAre("loading", "ready"));
}

TEST_F(CatalogTest, StreamsWhyItIsNotReadyAndWhenItIs) {
  network->answer(typesUrl, down());
  construct();
  std::vector<std::string> texts;
  const auto token =
      catalog->readinessStream().sink([&](const Readiness& readiness) { texts.push_back(readiness.text()); });
  runAll();
  network->answer(typesUrl, StubNetwork::body(typesBody()));
  static_cast<void>(answered(catalog->types({"Account"})));
  EXPECT_THAT(texts, ElementsAre("loading", std::string("failed: down (") + typesUrl + ")", "ready"));
}

TEST_F(CatalogTest, StreamsNothingOnceItIsDestroyed) {
  construct();
  std::vector<std::string> texts;
  const auto token =
      catalog->readinessStream().sink([&](const Readiness& readiness) { texts.push_back(readiness.text()); });
  queues.runAll();
  catalog.reset();
  runAll();
  EXPECT_THAT(texts, IsEmpty());
}

TEST_F(CatalogTest, DestroyingItSilencesCallbacksAndSavesNothingMore) {
  network->answer(typesUrl, StubNetwork::body(typesBody()).held());
  construct();
  const auto received = ask(catalog->types({"Account"}));
  runAll();
  catalog.reset();
  cache->clearCalls();
  network->releaseAll();
  runAll();
  EXPECT_EQ(received->calls, 0);
  for (const auto& call : cache->callTexts()) EXPECT_THAT(call, testing::Not(testing::HasSubstr("Upsert")));
  EXPECT_EQ(timer->pending(), 0U);
}

TEST_F(CatalogTest, AnAnswerThatIsOnItsWayWhenItIsDestroyedDoesNotArrive) {
  constructAndLoad();
  const auto received = ask(catalog->types({"Account"}));
  queues.runAll();
  EXPECT_EQ(queue->pending(), 1U);
  catalog.reset();
  runAll();
  EXPECT_EQ(received->calls, 0);
}

TEST_F(CatalogTest, ItMayBeDestroyedInsideACallback) {
  constructAndLoad();
  int calls = 0;
  auto token = catalog->types({"Account"}).then([&](const auto&) {
    ++calls;
    catalog.reset();
  });
  runAll();
  EXPECT_EQ(calls, 1);
  EXPECT_FALSE(catalog);
}

TEST_F(CatalogTest, AHostWithoutANetworkHasEveryQuestionFail) {
  catalog.emplace(std::make_shared<hostkit::StandardPlatformAPI>(nullptr, cache, logger),
                  CatalogOptions{.answersOn = queue, .timer = timer});
  const auto answer = answered(catalog->records({"001xx"}));
  EXPECT_EQ(answer.end, End::failed);
  EXPECT_EQ(answer.missing.at("001xx").why(), Missing::Why::failed);
  EXPECT_EQ(catalog->readiness().readinessCase(), ReadinessCase::failed);
  EXPECT_EQ(answered(catalog->refresh()).end, End::failed);
  catalog->forget();
}

TEST_F(CatalogTest, AHostWithoutACacheOrALoggerHasEveryQuestionFail) {
  for (const auto& host : {std::make_shared<hostkit::StandardPlatformAPI>(network, nullptr, logger),
                           std::make_shared<hostkit::StandardPlatformAPI>(network, cache, nullptr)}) {
    catalog.emplace(host, CatalogOptions{.answersOn = queue, .timer = timer});
    EXPECT_EQ(answered(catalog->records({"001xx"})).end, End::failed);
  }
}

TEST_F(CatalogTest, ForgettingDeletesWhatWasWrittenAndGivesQuestionsUp) {
  network->answerPrefix("/services/data/v50.0/search/layout",
                        StubNetwork::body(R"([{"objectType":"Account","searchColumns":[]}])"));
  constructAndLoad();
  static_cast<void>(answered(catalog->records({"001xx", "00Bxx"})));
  static_cast<void>(answered(catalog->searchColumns({"Account"})));
  network->answer(listViewUrl("00Byy"), listViewAnswer("Contact").held());
  const auto pending = ask(catalog->records({"00Byy"}));
  runAll();
  catalog->forget();
  network->releaseAll();
  runAll();
  EXPECT_EQ(pending->calls, 1);
  EXPECT_EQ(pending->answer.end, End::cancelled);
  EXPECT_EQ(pending->answer.missing.at("00Byy").text(), "cancelled");
  EXPECT_EQ(catalog->readiness().text(), "loading");
  for (const auto* table : {"OPS_SObjectsCacheTable", "OPS_ThemesCacheTable"}) {
    EXPECT_THAT(cache->openTable(table)->fetch(CorvaneSDK::Query::oldest({})), IsEmpty()) << table;
  }
  for (const auto* key : {"ops.sobject.fetch.timestamp", "ops.theme.fetch.timestamp", "OPS_Layout_Account"}) {
    EXPECT_FALSE(cache->load(key)) << key;
  }
}

TEST_F(CatalogTest, AfterForgettingItBeginsWithoutAnything) {
  constructAndLoad();
  catalog->forget();
  EXPECT_EQ(answered(catalog->types({"Account"}, {.source = Source::cacheOnly})).missing.at("Account").text(),
            "not in the cache");
  EXPECT_EQ(answered(catalog->types({"Account"})).found.size(), 1U);
  EXPECT_EQ(network->count(typesUrl), 2U);
}

/// A façade and, beside it, a catalogue that shares its services.
class CatalogBesideFacadeTest : public tests::CatalogFixture {
 protected:
  CatalogBesideFacadeTest() {
    facade.emplace(std::make_shared<hostkit::StandardPlatformAPI>(network, cache, logger), 3600.0, "light",
                   queue);
    runAll();
    catalogOptions.sharesServicesOf = &*facade;
    constructAndLoad();
  }

  std::optional<VelloraService> facade;
};

TEST_F(CatalogBesideFacadeTest, TheSecondOfThemLoadsNothing) {
  EXPECT_EQ(network->count(), 2U);
  EXPECT_EQ(catalog->readiness().text(), "ready");
  EXPECT_EQ(answered(catalog->types({"Account"})).found.size(), 1U);
}

TEST_F(CatalogBesideFacadeTest, WithoutAHostItAnswersNothingOutOfTheServicesThatItWouldShare) {
  const Catalog hostless(nullptr, catalogOptions);
  EXPECT_EQ(answered(hostless.types({"Account"})).end, End::failed);
}

TEST_F(CatalogBesideFacadeTest, WhicheverGoesLastPurgesOnce) {
  const auto purges = [this] {
    const auto lines = logger->texts(CorvaneSDK::LogLevel::info);
    return std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
      return line.find("enforceCacheCount(), cacheEntryType: ") != std::string::npos;
    });
  };
  facade.reset();
  EXPECT_EQ(purges(), 0);
  EXPECT_EQ(answered(catalog->types({"Account"})).found.size(), 1U);
  catalog.reset();
  runAll();
  EXPECT_EQ(purges(), 4) << "one for each kind of rows";
}

TEST_F(CatalogBesideFacadeTest, WhatOneCatalogueForgetsFailsNoOthersQuestion) {
  Catalog other(std::make_shared<hostkit::StandardPlatformAPI>(network, cache, logger), catalogOptions);
  clock.advance(7200);
  network->answer(typesUrl, StubNetwork::body(typesBody()).held());
  const auto forgotten = ask(catalog->records({"001xx"}));
  const auto waiting = ask(other.records({"001xx"}));
  runAll();
  catalog->forget();
  network->releaseAll();
  runAll();
  EXPECT_EQ(forgotten->answer.end, End::cancelled);
  EXPECT_EQ(waiting->answer.end, End::answered);
  EXPECT_EQ(reasonsOf(waiting->answer), (std::map<std::string, std::string>()));
}

TEST_F(CatalogBesideFacadeTest, ForgettingPartsThem) {
  catalog->forget();
  facade.reset();
  EXPECT_EQ(answered(catalog->types({"Account"})).found.size(), 1U);
  EXPECT_EQ(network->count(typesUrl), 2U);
}

TEST_F(CatalogTest, AFinishedQuestionLeavesNothing) {
  constructAndLoad();
  const auto before = cache.use_count();
  for (int i = 0; i < 100; ++i) static_cast<void>(answered(catalog->records({"001xx", "00Bxx"})));
  EXPECT_EQ(timer->pending(), 0U);
  EXPECT_EQ(cache.use_count(), before);
}

}  // namespace
}  // namespace vellora
