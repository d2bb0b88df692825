#include "vellora/Catalog/InfoLookup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "tests/vellora/Catalog/CatalogFixture.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Host/Query.h"

namespace vellora {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testkit::StubNetwork;
using Reasons = std::map<std::string, std::string>;

using InfoLookupTest = tests::CatalogFixture;

TEST_F(InfoLookupTest, FindsRecordsAndWhatAListViewLists) {
  construct();
  const auto answer = answered(catalog->records({"001xx", "00Bxx"}));
  EXPECT_EQ(answer.end, End::answered);
  EXPECT_THAT(answer.missing, IsEmpty());
  ASSERT_THAT(keysOf(answer.found), ElementsAre("001xx", "00Bxx"));
  EXPECT_EQ(answer.found.at("001xx").typePresentationInfo.label, "Account");
  EXPECT_EQ(answer.found.at("001xx").typePresentationInfo.color, "FF0000");
  EXPECT_EQ(answer.found.at("00Bxx").instancePresentationInfo->apiName(), "Contact");
  EXPECT_EQ(answer.ageOf("001xx"), (Age{clock.date(), false}));
  EXPECT_FALSE(answer.trouble);
}

TEST_F(InfoLookupTest, TheFirstQuestionsShareTheFetchesOfTheFirstLoad) {
  construct();
  const auto first = ask(catalog->records({"001xx"}));
  const auto second = ask(catalog->types({"Account", "Contact"}));
  runAll();
  EXPECT_EQ(first->answer.found.size(), 1U);
  EXPECT_EQ(second->answer.found.size(), 2U);
  EXPECT_THAT(network->urls(), testing::UnorderedElementsAre(typesUrl, themesUrl));
}

TEST_F(InfoLookupTest, TellsWhatTheServerDoesNotKnow) {
  constructAndLoad();
  const auto records = answered(catalog->records({"001xx", "999xx"}));
  EXPECT_THAT(keysOf(records.found), ElementsAre("001xx"));
  EXPECT_EQ(reasonsOf(records), (Reasons{{"999xx", "unknown to the server"}}));
  EXPECT_EQ(records.end, End::answered);
  const auto types = answered(catalog->types({"Account", "Nonesuch"}));
  EXPECT_EQ(reasonsOf(types), (Reasons{{"Nonesuch", "unknown to the server"}}));
}

TEST_F(InfoLookupTest, OneListViewThatCannotBeAskedTakesNoOtherKeyWithIt) {
  network->answer(listViewUrl("00Byy"), down());
  constructAndLoad();
  const auto answer = answered(catalog->records({"001xx", "00Bxx", "00Byy"}));
  EXPECT_THAT(keysOf(answer.found), ElementsAre("001xx", "00Bxx"));
  ASSERT_EQ(answer.missing.size(), 1U);
  const auto& missing = answer.missing.at("00Byy");
  EXPECT_EQ(missing.text(), "could not be asked: down (" + listViewUrl("00Byy") + ")");
  EXPECT_EQ(missing.failure()->url(), listViewUrl("00Byy"));
  EXPECT_TRUE(missing.failure()->error().as<tests::TestError>());
  EXPECT_EQ(answer.end, End::answered);
}

TEST_F(InfoLookupTest, AKeyWhoseRequestHangsKeepsNoneOfTheOthersAtTheDeadline) {
  network->answer(listViewUrl("00Byy"), StubNetwork::never());
  constructAndLoad();
  const auto received = ask(catalog->records({"001xx", "00Byy"}, {.deadline = 5s}));
  runAll();
  EXPECT_EQ(received->calls, 0);
  timer->advance(5s);
  runAll();
  ASSERT_EQ(received->calls, 1);
  EXPECT_EQ(received->answer.end, End::timedOut);
  EXPECT_EQ(received->answer.found.at("001xx").typePresentationInfo.color, "FF0000");
  EXPECT_EQ(reasonsOf(received->answer), (Reasons{{"00Byy", "timed out"}}));
}

TEST_F(InfoLookupTest, RefusesKeysThatAreNoneBeforeTheyGoIntoAQuery) {
  constructAndLoad();
  network->answerPrefix("/services/data/v50.0/query", down());
  const auto answer = answered(catalog->records({"", "00B' OR Id != '", "001\xFF", "001xx"}));
  EXPECT_THAT(keysOf(answer.found), ElementsAre("001xx"));
  EXPECT_EQ(reasonsOf(answer),
            (Reasons{{"", "not asked: The key is empty."},
                     {"00B' OR Id != '", "not asked: The id holds a quotation mark or a backslash."},
                     {"001\xFF", "not asked: The key is not UTF-8."}}));
  EXPECT_EQ(network->count(), 2U) << "both lists";
}

TEST_F(InfoLookupTest, EqualKeysCountOnceAndNoneAreAnsweredAtOnce) {
  constructAndLoad();
  EXPECT_EQ(answered(catalog->types({"Account", "Account"})).found.size(), 1U);
  EXPECT_EQ(answered(catalog->types({})).end, End::answered);
}

TEST_F(InfoLookupTest, AListThatCannotBeFetchedIsTheReasonOfEveryKey) {
  network->answer(typesUrl, down());
  construct();
  const auto answer = answered(catalog->records({"001xx", "999xx"}));
  EXPECT_EQ(answer.end, End::failed);
  const auto why = std::string("could not be asked: down (") + typesUrl + ")";
  EXPECT_EQ(reasonsOf(answer), (Reasons{{"001xx", why}, {"999xx", why}}));
  ASSERT_TRUE(answer.trouble);
  EXPECT_EQ(answer.trouble->url(), typesUrl);
}

TEST_F(InfoLookupTest, AnswersWithOlderDataWhenTheServerFailsAndSaysSo) {
  constructAndLoad();
  const auto fetched = clock.date();
  clock.advance(7200);
  network->answer(typesUrl, down());
  network->answer(themesUrl, down());
  const auto answer = answered(catalog->types({"Account", "Nonesuch"}));
  EXPECT_EQ(answer.found.at("Account").typePresentationInfo.color, "FF0000");
  EXPECT_EQ(answer.ageOf("Account"), (Age{fetched, true}));
  EXPECT_EQ(answer.trouble->text(), std::string("down (") + typesUrl + ")");
  EXPECT_EQ(answer.missing.at("Nonesuch").why(), Missing::Why::failed) << "the old list does not know";
}

TEST_F(InfoLookupTest, FindsRecordsWithoutColoursWhenThemesCannotBeFetchedAndSaysSo) {
  network->answer(themesUrl, down());
  construct();
  const auto answer = answered(catalog->types({"Account"}));
  EXPECT_EQ(answer.end, End::answered);
  EXPECT_EQ(answer.found.at("Account").typePresentationInfo.label, "Account");
  EXPECT_FALSE(answer.found.at("Account").typePresentationInfo.color);
  EXPECT_EQ(answer.trouble->text(), std::string("down (") + themesUrl + ")");
}

TEST_F(InfoLookupTest, AListThatIsFetchedAnewCountsForTypesThatWereLookedUpBefore) {
  constructAndLoad();
  static_cast<void>(answered(catalog->records({"001xx"})));
  clock.advance(7200);
  network->answer(
      typesUrl,
      StubNetwork::body(
          R"({"sobjects":[{"name":"Account","keyPrefix":"001","label":"Client","labelPlural":"Clients","createable":true}]})"));
  const auto answer = answered(catalog->records({"001xx"}));
  EXPECT_EQ(answer.found.at("001xx").typePresentationInfo.label, "Client");
  EXPECT_FALSE(answer.ageOf("001xx").isStale);
}

TEST_F(InfoLookupTest, CacheOnlySendsNothing) {
  construct();
  const auto empty = ask(catalog->types({"Account"}, {.source = Source::cacheOnly}));
  while (empty->calls == 0 && (queues.runNext() || queue->runNext())) {
  }
  runAll();
  const auto answer = answered(catalog->records({"001xx", "00Bxx"}, {.source = Source::cacheOnly}));
  EXPECT_THAT(keysOf(answer.found), ElementsAre("001xx"));
  EXPECT_EQ(reasonsOf(answer), (Reasons{{"00Bxx", "not in the cache"}}));
  EXPECT_FALSE(answer.trouble);
  EXPECT_EQ(network->count(), 2U) << "the lists of the first load";
}

TEST_F(InfoLookupTest, ServerFirstFetchesWhatTheCacheHasAndFallsBackOnIt) {
  constructAndLoad();
  static_cast<void>(answered(catalog->records({"00Bxx"})));
  network->answer(listViewUrl("00Bxx"), listViewAnswer("Account"));
  const auto anew = answered(catalog->records({"00Bxx"}, {.source = Source::serverFirst}));
  EXPECT_EQ(anew.found.at("00Bxx").instancePresentationInfo->apiName(), "Account");
  EXPECT_EQ(network->count(typesUrl), 2U);
  EXPECT_EQ(network->count(themesUrl), 2U);

  network->answer(listViewUrl("00Bxx"), down());
  const auto old = answered(catalog->records({"00Bxx"}, {.source = Source::serverFirst}));
  EXPECT_EQ(old.found.at("00Bxx").instancePresentationInfo->apiName(), "Account");
  EXPECT_EQ(old.trouble->url(), listViewUrl("00Bxx"));
}

TEST_F(InfoLookupTest, AnotherThemeAsksTheServerNothing) {
  constructAndLoad();
  EXPECT_EQ(
      answered(catalog->types({"Account"}, {.theme = "dark"})).found.at("Account").typePresentationInfo.color,
      "00FF00");
  EXPECT_EQ(network->count(), 2U);
}

TEST_F(InfoLookupTest, TwoQuestionsForOneListViewShareItsRequest) {
  network->answer(listViewUrl("00Bxx"), listViewAnswer("Contact").held());
  constructAndLoad();
  const auto first = ask(catalog->records({"00Bxx"}));
  const auto second = ask(catalog->records({"00Bxx", "001xx"}));
  runAll();
  EXPECT_EQ(network->count(listViewUrl("00Bxx")), 1U);
  network->releaseAll();
  runAll();
  EXPECT_EQ(first->answer.found.size(), 1U);
  EXPECT_EQ(second->answer.found.size(), 2U);
}

TEST_F(InfoLookupTest, ACacheThatKeepsNothingIsAReasonOrNone) {
  cache->fail(testkit::FailingCache::Operation::tableUpsert);
  cache->fail(testkit::FailingCache::Operation::save);
  construct();
  const auto types = answered(catalog->types({"Account", "Nonesuch"}));
  EXPECT_THAT(keysOf(types.found), ElementsAre("Account"));
  EXPECT_EQ(reasonsOf(types), (Reasons{{"Nonesuch", "unknown to the server"}}));
  const auto records = answered(catalog->records({"001xx"}));
  EXPECT_EQ(reasonsOf(records), (Reasons{{"001xx", "could not be asked: It is not in the cache."}}));
}

TEST_F(InfoLookupTest, ServerFirstFallsBackAtOnceWhateverHangsBesides) {
  constructAndLoad();
  static_cast<void>(answered(catalog->records({"00Bxx"})));
  network->answer(listViewUrl("00Bxx"), down());
  network->answer(listViewUrl("00Byy"), StubNetwork::never());
  network->answer(listViewUrl("00Bzz"), down());
  const auto received =
      ask(catalog->records({"00Bxx", "00Byy", "00Bzz"}, {.deadline = 5s, .source = Source::serverFirst}));
  runAll();
  timer->advance(5s);
  runAll();
  EXPECT_THAT(keysOf(received->answer.found), ElementsAre("00Bxx"));
  EXPECT_EQ(received->answer.trouble->url(), listViewUrl("00Bxx"));
  EXPECT_EQ(reasonsOf(received->answer),
            (Reasons{{"00Byy", "timed out"},
                     {"00Bzz", "could not be asked: down (" + listViewUrl("00Bzz") + ")"}}));
}

TEST_F(InfoLookupTest, AnExpiredListDoesNotSayWhatTheServerKnows) {
  constructAndLoad();
  clock.advance(7200);
  EXPECT_EQ(reasonsOf(answered(catalog->types({"Nonesuch"}, {.source = Source::cacheOnly}))),
            (Reasons{{"Nonesuch", "not in the cache"}}));
}

TEST_F(InfoLookupTest, TheListTellsKeyPrefixesWhoseRowIsGone) {
  constructAndLoad();
  const auto table = cache->openTable("OPS_SObjectsCacheTable");
  table->purge(CorvaneSDK::metaEquals({{"cacheEntryType", "keyPrefixes"}}));
  const auto answer = answered(catalog->records({"001xx", "999xx"}));
  EXPECT_THAT(keysOf(answer.found), ElementsAre("001xx"));
  EXPECT_EQ(reasonsOf(answer), (Reasons{{"999xx", "unknown to the server"}}));
}

TEST_F(InfoLookupTest, AThemeThatCannotBeFoundOutIsTheTrouble) {
  constructAndLoad();
  cache->openTable("OPS_ThemesCacheTable")->upsert({Data("{"), {{"cacheEntryType", "themes"}}, std::nullopt});
  network->answer(themesUrl, down());
  const auto answer = answered(catalog->types({"Account"}));
  EXPECT_FALSE(answer.found.at("Account").typePresentationInfo.color);
  ASSERT_TRUE(answer.trouble);
  EXPECT_EQ(answer.trouble->text(), std::string("down (") + themesUrl + ")");
}

TEST_F(InfoLookupTest, ACacheThatKeepsNothingCostsOneRequestForEachList) {
  cache->fail(testkit::FailingCache::Operation::tableUpsert);
  catalogOptions.loadsAtOnce = false;
  construct();
  const auto answer = answered(catalog->types({"Account", "Contact", "Nonesuch"}));
  EXPECT_THAT(keysOf(answer.found), ElementsAre("Account", "Contact"));
  EXPECT_EQ(answer.found.at("Account").typePresentationInfo.color, "FF0000");
  EXPECT_EQ(reasonsOf(answer), (Reasons{{"Nonesuch", "unknown to the server"}}));
  EXPECT_EQ(network->count(typesUrl), 1U);
  EXPECT_EQ(network->count(themesUrl), 1U);
  EXPECT_EQ(answered(catalog->allTypes()).found.size(), 3U);
  EXPECT_EQ(network->count(typesUrl), 2U);
  EXPECT_EQ(network->count(themesUrl), 2U);
}

TEST_F(InfoLookupTest, ACorruptListInACacheThatKeepsNothingCostsOneRequest) {
  constructAndLoad();
  const auto table = cache->openTable("OPS_SObjectsCacheTable");
  table->purge(CorvaneSDK::metaEquals({}));
  table->upsert({Data("{"), {{"cacheEntryType", "sObjects"}}, std::nullopt});
  cache->fail(testkit::FailingCache::Operation::tableUpsert);
  EXPECT_EQ(answered(catalog->types({"Account", "Contact", "ListView"})).found.size(), 3U);
  EXPECT_EQ(network->count(typesUrl), 2U) << "the first load's and one more";
}

TEST_F(InfoLookupTest, WhatAListViewListsHasNoDate) {
  constructAndLoad();
  const auto answer = answered(catalog->records({"001xx", "00Bxx"}));
  EXPECT_EQ(answer.ageOf("001xx"), (Age{clock.date(), false}));
  EXPECT_EQ(answer.ageOf("00Bxx"), (Age{std::nullopt, false})) << "it may be older than the lists";
}

TEST_F(InfoLookupTest, WhatHasJustComeIsNotStaleHoweverShortTheTimeOut) {
  catalogOptions.cacheTimeout = 0s;
  catalogOptions.loadsAtOnce = false;
  const auto takeTime = [this](const CorvaneSDK::NetRequest&) {
    clock.advance(1);  // so that one list is a second old when the other has come
    return false;
  };
  network->answerWhen(takeTime, down());
  construct();
  EXPECT_FALSE(answered(catalog->types({"Account"})).ageOf("Account").isStale);
}

TEST_F(InfoLookupTest, AnExpiredListThatCannotBeFetchedIsStaleThoughTheOtherHasJustCome) {
  constructAndLoad();
  for (const auto* failing : {typesUrl, themesUrl}) {
    clock.advance(7200);
    network->answer(typesUrl, StubNetwork::body(typesBody()));
    network->answer(themesUrl, StubNetwork::body(themesBody()));
    network->answer(failing, down());
    EXPECT_TRUE(answered(catalog->types({"Account"})).ageOf("Account").isStale) << failing;
  }
}

TEST_F(InfoLookupTest, AListThatExpiresWhileTheOtherIsFetchedIsStale) {
  constructAndLoad();
  using Fetched = std::pair<const char*, const char*>;
  for (const auto& [url, timeStamp] :
       {Fetched{typesUrl, "ops.sobject.fetch.timestamp"}, Fetched{themesUrl, "ops.theme.fetch.timestamp"}}) {
    static_cast<void>(answered(catalog->refresh()));
    cache->save(Data(), timeStamp);
    network->answer(url, StubNetwork::body(url == typesUrl ? typesBody() : themesBody()).held());
    const auto received = ask(catalog->types({"Account"}));
    runAll();
    clock.advance(7200);
    network->releaseAll();
    runAll();
    EXPECT_EQ(received->calls, 1);
    EXPECT_TRUE(received->answer.ageOf("Account").isStale) << url;
    network->answer(url, StubNetwork::body(url == typesUrl ? typesBody() : themesBody()));
  }
}

TEST_F(InfoLookupTest, LooksUpThemesOnceTheCacheHasAnsweredForAllTypes) {
  constructAndLoad();
  logger->clear();
  static_cast<void>(answered(catalog->types({"Account", "Nonesuch"})));
  const auto lines = logger->texts(CorvaneSDK::LogLevel::info);
  const auto ofThemes = std::find(lines.begin(), lines.end(), "cachedThemes()");
  ASSERT_NE(ofThemes, lines.end());
  EXPECT_EQ(std::count(lines.begin(), ofThemes, "sObjectForName(_:), name: Account"), 1);
  EXPECT_EQ(std::count(lines.begin(), ofThemes, "sObjectForName(_:), name: Nonesuch"), 1);
}

TEST_F(InfoLookupTest, AThemeThatIsKnownIsNotLookedUpAgainForAListViewThatComesLater) {
  network->answer(listViewUrl("00Bxx"), listViewAnswer("Account").held());
  constructAndLoad();
  const auto received = ask(catalog->records({"001xx", "00Bxx"}));
  runAll();
  network->releaseAll();
  runAll();
  EXPECT_EQ(received->answer.found.size(), 2U);
  EXPECT_THAT(logger->texts(CorvaneSDK::LogLevel::info),
              testing::Not(testing::Contains("cachedTheme(for:), name: Account, was retrieved from cache")));
}

}  // namespace
}  // namespace vellora
