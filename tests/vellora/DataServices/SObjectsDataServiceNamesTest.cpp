#include "tests/vellora/DataServices/SObjectsDataServiceFixture.h"

// Lookups by name.

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testkit::FailingCache;
using testkit::StubNetwork;
using CacheState = SObjectsDataService::CacheState;

using SObjectsDataServiceNamesTest = SObjectsDataServiceTest;

TEST_F(SObjectsDataServiceNamesTest, DoesNothingForALookupThatNobodySubscribesTo) {
  const auto byId = service->sObjectsForIds({"001A"});
  const auto byName = service->sObjectsForNames({"Account"});

  EXPECT_EQ(queues.pending(), 0U);
  EXPECT_THAT(host.logger->lines(), IsEmpty());
}

TEST_F(SObjectsDataServiceNamesTest, AnswersNoNamesAndNoIdsWithNothing) {
  EXPECT_THAT(names({}).values, ElementsAre(ByName{}));
  EXPECT_THAT(ids({}).values, ElementsAre(ById{}));
  EXPECT_EQ(host.network->count(), 0U);
  EXPECT_THAT(host.logger->lines(), IsEmpty());
}

TEST_F(SObjectsDataServiceNamesTest, LooksANameUpOnItsQueue) {
  cacheList();
  Received<ByName> received;

  watch(service->sObjectsForNames({"Account"}), received);

  EXPECT_EQ(queues.pending(), 2U);  // the name, and the end of the names
  EXPECT_THAT(host.cache->calls(), IsEmpty());
  queues.runNext();
  EXPECT_FALSE(host.cache->calls().empty());
  EXPECT_TRUE(received.silent());
  queues.runNext();
  EXPECT_THAT(received.values, ElementsAre(ElementsAre(Pair("Account", account))));
  EXPECT_TRUE(received.end && !received.failed());
}

TEST_F(SObjectsDataServiceNamesTest, TakesANameFromTheCachedListAndKeepsItSingly) {
  cacheList();

  EXPECT_THAT(names({"Account"}).values, ElementsAre(ElementsAre(Pair("Account", account))));

  EXPECT_THAT(
      host.infos(),
      ElementsAre("sObjectForName(_:), name: Account", "cachedSObjects()", "save(_:), sObject.name: Account",
                  "sObjectsForNames(_:): tuples for each id: Account, Optional(\"Account\"))"));
  EXPECT_EQ(host.network->count(), 1U);
}

TEST_F(SObjectsDataServiceNamesTest, TakesANameFromItsOwnRowTheNextTime) {
  cacheList();
  names({"Account"});
  forget();

  EXPECT_THAT(names({"Account"}).values, ElementsAre(ElementsAre(Pair("Account", account))));

  EXPECT_THAT(host.infos(),
              ElementsAre("sObjectForName(_:), name: Account",
                          "cachedSObject(for:), name: Account, was retrieved from cache",
                          "sObjectsForNames(_:): tuples for each id: Account, Optional(\"Account\"))"));
}

TEST_F(SObjectsDataServiceNamesTest, ServesSingleRowsAfterTheListHasChanged) {
  cacheList();
  names({"Account"});
  clock.advance(301);
  host.network->answer(listUrl, StubNetwork::body(R"({"sobjects":[]})"));
  service->loadSObjects(nullptr);
  queues.runAll();

  EXPECT_THAT(names({"Account"}).values, ElementsAre(ElementsAre(Pair("Account", account))));
}

TEST_F(SObjectsDataServiceNamesTest, DoesNotAskTheServerForANameThatAnOldListLacks) {
  cacheList();
  clock.advance(6 * 24 * 60 * 60);

  EXPECT_THAT(names({"account"}).values, ElementsAre(ElementsAre(Pair("account", std::nullopt))));

  EXPECT_EQ(host.network->count(), 1U);
  EXPECT_THAT(host.infos(), ElementsAre("sObjectForName(_:), name: account", "cachedSObjects()",
                                        "sObjectsForNames(_:): tuples for each id: account, nil)"));
}

TEST_F(SObjectsDataServiceNamesTest, FetchesTheListForANameWhenNoneIsCached) {
  host.network->answer(listUrl, StubNetwork::body(listBody));

  EXPECT_THAT(names({"Contact"}).values, ElementsAre(ElementsAre(Pair("Contact", contact))));

  EXPECT_THAT(
      host.infos(),
      ElementsAre("sObjectForName(_:), name: Contact", "save(_:)", "saveKeyPrefixes(_:)",
                  "fetchedSObjects(), sObjects was fetched then cached", "save(_:), sObject.name: Contact",
                  "sObjectsForNames(_:): tuples for each id: Contact, Optional(\"Contact\"))"));
  EXPECT_EQ(service->cacheState(), CacheState::valid);
}

TEST_F(SObjectsDataServiceNamesTest, AnswersANameThatTheFetchedListLacksWithoutAValue) {
  host.network->answer(listUrl, StubNetwork::body(R"({"sobjects":[]})"));

  const auto received = names({"Contact"});

  EXPECT_THAT(received.values, ElementsAre(ElementsAre(Pair("Contact", std::nullopt))));
  EXPECT_TRUE(received.end && !received.failed());
}

TEST_F(SObjectsDataServiceNamesTest, TakesTheFirstOfSeveralEntriesOfAName) {
  host.network->answer(
      listUrl,
      StubNetwork::body(R"({"sobjects":[{"name":"A","label":"1","labelPlural":"","createable":true},)"
                        R"({"name":"A","label":"2","labelPlural":"","createable":true}]})"));

  EXPECT_EQ(names({"A"}).values.front().at("A")->label, "1");
}

TEST_F(SObjectsDataServiceNamesTest, SendsARequestForEachNameWhenNoneIsCached) {
  host.network->answer(listUrl, StubNetwork::body(listBody).held());
  Received<ByName> received;

  watch(service->sObjectsForNames({"Account", "Contact", "Account"}), received);
  queues.runAll();

  EXPECT_EQ(host.network->count(), 3U);
  EXPECT_TRUE(host.network->releaseOne());
  EXPECT_TRUE(received.silent());
  host.network->releaseAll();
  EXPECT_THAT(received.values, ElementsAre(ElementsAre(Pair("Account", account), Pair("Contact", contact))));
}

TEST_F(SObjectsDataServiceNamesTest, GivesARepeatedNameOneEntryAndALineForEach) {
  cacheList();

  EXPECT_THAT(names({"Account", "Nobody", "Account"}).values,
              ElementsAre(ElementsAre(Pair("Account", account), Pair("Nobody", std::nullopt))));

  const auto lines = host.infos();
  EXPECT_THAT((std::vector<std::string>(lines.end() - 3, lines.end())),
              ElementsAre("sObjectsForNames(_:): tuples for each id: Account, Optional(\"Account\"))",
                          "sObjectsForNames(_:): tuples for each id: Nobody, nil)",
                          "sObjectsForNames(_:): tuples for each id: Account, Optional(\"Account\"))"));
}

TEST_F(SObjectsDataServiceNamesTest, OfARepeatedNameTheLaterAnswerDecides) {
  host.network->answer(listUrl,
                       {StubNetwork::body(listBody).held(), StubNetwork::body(R"({"sobjects":[]})").held()});
  Received<ByName> received;

  watch(service->sObjectsForNames({"Account", "Account"}), received);
  queues.runAll();
  host.network->releaseAll();

  EXPECT_THAT(received.values, ElementsAre(ElementsAre(Pair("Account", std::nullopt))));
}

TEST_F(SObjectsDataServiceNamesTest, FailsALookupAsAWhole) {
  host.network->answer(listUrl, {StubNetwork::body(listBody).held(), StubNetwork::nothing().held()});
  Received<ByName> received;

  watch(service->sObjectsForNames({"Account", "Contact"}), received);
  queues.runAll();
  host.network->releaseAll();

  EXPECT_THAT(received.values, IsEmpty());
  ASSERT_TRUE(received.failed());
  ASSERT_NE((*received.end)->as<SObjectsDataServiceError>(), nullptr);
  EXPECT_EQ(*(*received.end)->as<SObjectsDataServiceError>(), SObjectsDataServiceError::noData());
  EXPECT_THAT(host.errors(), ElementsAre(noDataLine));
}

TEST_F(SObjectsDataServiceNamesTest, GoesOnToTheListWhenASingleRowIsDamaged) {
  cacheList();
  CorvaneSDK::CacheTable::open(*host.cache, tableKey)
      ->upsert({Data(std::string("?")), {{"cacheEntryType", "sObject"}, {"name", "Account"}}, std::nullopt});

  EXPECT_THAT(names({"Account"}).values, ElementsAre(ElementsAre(Pair("Account", account))));

  EXPECT_THAT(host.errors(), ElementsAre(testing::StartsWith("cachedSObject(for:): Failed to decode: ")));
  forget();
  EXPECT_THAT(names({"Account"}).values, ElementsAre(ElementsAre(Pair("Account", account))));
  EXPECT_THAT(host.errors(), IsEmpty());  // the row has been replaced
}

TEST_F(SObjectsDataServiceNamesTest, GoesOnToTheServerWhenTheListIsDamaged) {
  cacheList();
  CorvaneSDK::CacheTable::open(*host.cache, tableKey)
      ->upsert({Data(std::string("?")), {{"cacheEntryType", "sObjects"}}, std::nullopt});
  EXPECT_EQ(service->cacheState(), CacheState::valid);

  EXPECT_THAT(names({"Account"}).values, ElementsAre(ElementsAre(Pair("Account", account))));

  EXPECT_EQ(host.network->count(), 2U);
}

TEST_F(SObjectsDataServiceNamesTest, AnswersFromTheServerWhenTheHostCachesNothing) {
  for (const auto operation : {FailingCache::Operation::tableUpsert, FailingCache::Operation::save}) {
    host.cache->fail(operation);
  }
  host.network->answer(listUrl, StubNetwork::body(listBody));

  EXPECT_THAT(names({"Account"}).values, ElementsAre(ElementsAre(Pair("Account", account))));
  EXPECT_THAT(names({"Account"}).values, ElementsAre(ElementsAre(Pair("Account", account))));

  EXPECT_EQ(host.network->count(), 2U);
  EXPECT_THAT(host.errors(), IsEmpty());
}

}  // namespace
}  // namespace vellora
