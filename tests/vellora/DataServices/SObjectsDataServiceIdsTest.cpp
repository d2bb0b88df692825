#include "tests/vellora/DataServices/SObjectsDataServiceFixture.h"

// Lookups by record id.

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testkit::StubNetwork;
using tests::TestError;

using SObjectsDataServiceIdsTest = SObjectsDataServiceTest;

TEST_F(SObjectsDataServiceIdsTest, FindsTheTypeOfAnIdByItsPrefix) {
  cacheList();

  EXPECT_THAT(ids({"001A"}).values, ElementsAre(ById{{"001A", {account, std::nullopt}}}));

  EXPECT_THAT(
      host.infos(),
      ElementsAre("cachedKeyPrefixes()", "saveKeyPrefix(_:for:), saved name: Account for keyPrefix: 001",
                  "sObjectForName(_:), name: Account", "cachedSObjects()", "save(_:), sObject.name: Account",
                  "cachedName(for:), keyPrefix: 001, was retrieved from cache",
                  "sObjectsForIds(_:): id: 001A, (type: Account, instance: nil)"));
}

TEST_F(SObjectsDataServiceIdsTest, FindsTheTypeOfTheNextIdInSingleRows) {
  cacheList();
  ids({"001A"});
  forget();

  EXPECT_THAT(ids({"001B"}).values, ElementsAre(ById{{"001B", {account, std::nullopt}}}));

  EXPECT_THAT(host.infos(), ElementsAre("cachedName(for:), keyPrefix: 001, was retrieved from cache",
                                        "sObjectForName(_:), name: Account",
                                        "cachedSObject(for:), name: Account, was retrieved from cache",
                                        "cachedName(for:), keyPrefix: 001, was retrieved from cache",
                                        "sObjectsForIds(_:): id: 001B, (type: Account, instance: nil)"));
}

TEST_F(SObjectsDataServiceIdsTest, KnowsNoIdWithoutACachedListAndAsksNobody) {
  EXPECT_THAT(ids({"001A"}).values, ElementsAre(ById{{"001A", {}}}));

  EXPECT_EQ(host.network->count(), 0U);
  EXPECT_THAT(host.infos(), ElementsAre("sObjectsForIds(_:): id: 001A, (type: nil, instance: nil)"));
}

TEST_F(SObjectsDataServiceIdsTest, KnowsNoIdOfAnUnknownPrefix) {
  cacheList();

  EXPECT_THAT(ids({"999A"}).values, ElementsAre(ById{{"999A", {}}}));

  EXPECT_THAT(host.infos(), ElementsAre("cachedKeyPrefixes()", "cachedKeyPrefixes()",
                                        "sObjectsForIds(_:): id: 999A, (type: nil, instance: nil)"));
}

TEST_F(SObjectsDataServiceIdsTest, KnowsNoIdWithoutTheTableOfPrefixesThoughTheListIsThere) {
  cacheList();
  CorvaneSDK::CacheTable::open(*host.cache, tableKey)
      ->purge(CorvaneSDK::metaEquals({{"cacheEntryType", "keyPrefixes"}}));

  EXPECT_THAT(ids({"001A"}).values, ElementsAre(ById{{"001A", {}}}));

  EXPECT_THAT(host.network->urls(), ElementsAre(listUrl));
}

TEST_F(SObjectsDataServiceIdsTest, LooksAShortIdUpByItsWholeText) {
  host.network->answer(
      listUrl,
      StubNetwork::body(
          R"({"sobjects":[{"name":"Short","keyPrefix":"0","label":"","labelPlural":"","createable":true},)"
          R"({"name":"None","keyPrefix":"","label":"","labelPlural":"","createable":true}]})"));
  service->loadSObjects(nullptr);
  queues.runAll();

  const auto found = ids({"0", "01", ""}).values.front();

  EXPECT_EQ(found.at("0").type->name, "Short");
  EXPECT_EQ(found.at("01").type, std::nullopt);
  EXPECT_EQ(found.at("").type->name, "None");
}

TEST_F(SObjectsDataServiceIdsTest, CountsTheCharactersOfAPrefixNotItsBytes) {
  host.network->answer(
      listUrl,
      StubNetwork::body(
          R"({"sobjects":[{"name":"Wide","keyPrefix":"é€😀","label":"","labelPlural":"","createable":true}]})"));
  service->loadSObjects(nullptr);
  queues.runAll();

  EXPECT_EQ(ids({"é€😀1"}).values.front().at("é€😀1").type->name, "Wide");
}

TEST_F(SObjectsDataServiceIdsTest, TakesAnIdThatIsNoTextForUnknown) {
  cacheList();

  EXPECT_THAT(ids({"\xFF\xC3\xE2\x82", "\xF0"}).values,
              ElementsAre(ById{{"\xFF\xC3\xE2\x82", {}}, {"\xF0", {}}}));
}

TEST_F(SObjectsDataServiceIdsTest, GivesRepeatedIdsOneEntryAndALineForEach) {
  cacheList();

  EXPECT_THAT(ids({"001A", "001A"}).values, ElementsAre(ById{{"001A", {account, std::nullopt}}}));

  const auto lines = host.infos();
  EXPECT_EQ(
      std::count(lines.begin(), lines.end(), "sObjectsForIds(_:): id: 001A, (type: Account, instance: nil)"),
      2);
}

TEST_F(SObjectsDataServiceIdsTest, OfARepeatedIdTheLaterAnswerDecides) {
  cacheList();
  host.network->answer(queryUrl("00B1"), {StubNetwork::body(listViewBody("00B1", "Account")).held(),
                                          StubNetwork::body(listViewBody("00B1", "Contact")).held()});
  Received<ById> received;

  watch(service->sObjectsForIds({"00B1", "00B1"}), received);
  queues.runAll();
  host.network->releaseAll();

  EXPECT_THAT(received.values, ElementsAre(ById{{"00B1", {listView, contact}}}));
}

TEST_F(SObjectsDataServiceIdsTest, TakesNoOtherTypeForAListViewWhateverItsNameBeginsWith) {
  host.network->answer(
      listUrl,
      StubNetwork::body(
          R"({"sobjects":[{"name":"ListViewChart","keyPrefix":"0Dd","label":"","labelPlural":"","createable":true},)"
          R"({"name":"listview","keyPrefix":"0De","label":"","labelPlural":"","createable":true}]})"));
  service->loadSObjects(nullptr);
  queues.runAll();

  EXPECT_EQ(ids({"0Dd1", "0De1"}).values.front().at("0Dd1").instance, std::nullopt);

  EXPECT_THAT(host.network->urls(), ElementsAre(listUrl));
}

TEST_F(SObjectsDataServiceIdsTest, TakesAnAbsentTypeForNobodysAlsoWhenATypeHasNoName) {
  host.network->answer(
      listUrl,
      StubNetwork::body(
          R"({"sobjects":[{"name":"","label":"","labelPlural":"","createable":true},)"
          R"({"name":"ListView","keyPrefix":"00B","label":"","labelPlural":"","createable":false}]})"));
  service->loadSObjects(nullptr);
  queues.runAll();
  host.network->answer(queryUrl("00B1"), StubNetwork::body(R"({"records":[]})"));

  EXPECT_EQ(ids({"00B1"}).values.front().at("00B1").instance, std::nullopt);
}

TEST_F(SObjectsDataServiceIdsTest, FindsBothTheTypeOfAListViewAndWhatItLists) {
  cacheList();
  host.network->answer(queryUrl("00B1"), StubNetwork::body(listViewBody("00B1", "Account")));

  EXPECT_THAT(ids({"00B1"}).values, ElementsAre(ById{{"00B1", {listView, account}}}));

  EXPECT_THAT(
      host.infos(),
      ElementsAre("cachedKeyPrefixes()", "saveKeyPrefix(_:for:), saved name: ListView for keyPrefix: 00B",
                  "sObjectForName(_:), name: ListView", "cachedSObjects()",
                  "save(_:), sObject.name: ListView",
                  "cachedName(for:), keyPrefix: 00B, was retrieved from cache",
                  "fetchedListViewType(for:): id: 00B1", "save(_:for:), id: 00B1, listViewType: Account",
                  "fetchedListViewType(for:), list view for id: 00B1, was fetched then cached",
                  "sObjectForName(_:), name: Account", "cachedSObjects()", "save(_:), sObject.name: Account",
                  "sObjectsForIds(_:): id: 00B1, (type: ListView, instance: Account)"));
}

TEST_F(SObjectsDataServiceIdsTest, RemembersWhatAListViewLists) {
  cacheList();
  host.network->answer(queryUrl("00B1"), StubNetwork::body(listViewBody("00B1", "Account")));
  ids({"00B1"});
  forget();

  EXPECT_THAT(ids({"00B1"}).values, ElementsAre(ById{{"00B1", {listView, account}}}));

  EXPECT_EQ(host.network->count(), 2U);
  EXPECT_THAT(host.infos(), ElementsAre("cachedName(for:), keyPrefix: 00B, was retrieved from cache",
                                        "sObjectForName(_:), name: ListView",
                                        "cachedSObject(for:), name: ListView, was retrieved from cache",
                                        "cachedName(for:), keyPrefix: 00B, was retrieved from cache",
                                        "cachedListViewType(for:), id: 00B1, was retrieved from cache",
                                        "listViewSObject(for:), id: 00B1, was retrieved from cache",
                                        "sObjectForName(_:), name: Account",
                                        "cachedSObject(for:), name: Account, was retrieved from cache",
                                        "sObjectsForIds(_:): id: 00B1, (type: ListView, instance: Account)"));
}

TEST_F(SObjectsDataServiceIdsTest, AsksAgainForAListViewWithoutAType) {
  cacheList();
  host.network->answer(queryUrl("00B1"), StubNetwork::body(R"({"records":[]})"));
  EXPECT_THAT(ids({"00B1"}).values, ElementsAre(ById{{"00B1", {listView, std::nullopt}}}));
  EXPECT_TRUE(host.logger->contains("save(_:for:), id: 00B1, listViewType: nil"));
  EXPECT_TRUE(host.logger->contains("sObjectForName(_:), name: null type"));
  forget();

  EXPECT_THAT(ids({"00B1"}).values, ElementsAre(ById{{"00B1", {listView, std::nullopt}}}));

  EXPECT_EQ(host.network->count(queryUrl("00B1")), 2U);
  EXPECT_THAT(host.errors(),
              ElementsAre("cachedListViewType(for:): Failed to decode: expected a string at $"));
}

TEST_F(SObjectsDataServiceIdsTest, TakesTheFirstRowOfTheListViewQuery) {
  cacheList();
  host.network->answer(
      queryUrl("00B1"),
      StubNetwork::body(R"({"records":[{"Id":"00B1"},{"Id":"00B1","SobjectType":"Account"}]})"));

  EXPECT_THAT(ids({"00B1"}).values, ElementsAre(ById{{"00B1", {listView, std::nullopt}}}));
}

TEST_F(SObjectsDataServiceIdsTest, KnowsNoListedTypeThatTheListLacks) {
  cacheList();
  host.network->answer(queryUrl("00B1"), StubNetwork::body(listViewBody("00B1", "Secret")));

  EXPECT_THAT(ids({"00B1"}).values, ElementsAre(ById{{"00B1", {listView, std::nullopt}}}));
}

TEST_F(SObjectsDataServiceIdsTest, FailsTheIdsWhenOneListViewCannotBeAskedFor) {
  cacheList();
  host.network->answer(queryUrl("00B1"), StubNetwork::failure(TestError{"unreachable"}));

  const auto received = ids({"001A", "00B1"});

  EXPECT_THAT(received.values, IsEmpty());
  EXPECT_EQ(received.failure(),
            "The operation could not be completed. (SObjectsDataServiceError.other: unreachable)");
  EXPECT_THAT(host.errors(), ElementsAre(std::string(errorLine) + "unreachable"));
  EXPECT_TRUE(CorvaneSDK::CacheTable::open(*host.cache, tableKey)
                  ->load(CorvaneSDK::Query::exact(CorvaneSDK::metaEquals({{"cacheEntryType", "listView"}})))
                  .empty());
}

TEST_F(SObjectsDataServiceIdsTest, FetchesTheListAndTheListViewTogetherWhenTheListIsDamaged) {
  cacheList();
  CorvaneSDK::CacheTable::open(*host.cache, tableKey)
      ->upsert({Data(std::string("?")), {{"cacheEntryType", "sObjects"}}, std::nullopt});
  host.network->answer(listUrl, StubNetwork::body(listBody).held());
  host.network->answer(queryUrl("00B1"), StubNetwork::body(listViewBody("00B1", "Account")).held());
  Received<ById> received;

  watch(service->sObjectsForIds({"00B1"}), received);
  queues.runAll();

  EXPECT_THAT(host.network->urls(), ElementsAre(listUrl, listUrl, queryUrl("00B1")));
  host.network->release(queryUrl("00B1"));  // its type is looked up in a list that is still on its way
  EXPECT_EQ(host.network->count(listUrl), 3U);
  host.network->releaseAll();
  EXPECT_THAT(received.values, ElementsAre(ById{{"00B1", {listView, account}}}));
}

TEST_F(SObjectsDataServiceIdsTest, CollectsTheIdsInTheOrderInWhichTheyAreAnswered) {
  cacheList();
  host.network->answer(queryUrl("00B1"), StubNetwork::body(listViewBody("00B1", "Account")).held());
  Received<ById> received;

  watch(service->sObjectsForIds({"00B1", "001A"}), received);
  queues.runAll();
  host.network->releaseAll();

  const auto lines = host.infos();
  EXPECT_THAT((std::vector<std::string>(lines.end() - 2, lines.end())),
              ElementsAre("sObjectsForIds(_:): id: 001A, (type: Account, instance: nil)",
                          "sObjectsForIds(_:): id: 00B1, (type: ListView, instance: Account)"));
}

TEST_F(SObjectsDataServiceIdsTest, PutsAHostileIdIntoTheQueryAsItStands) {
  cacheList();
  const std::string long10000 = "00B" + std::string(9997, 'x');
  const std::map<std::string, std::string> encodedById{
      {"00B' OR Id != '", "00B'%20OR%20Id%20!%3D%20'"},
      {"00B\"", "00B%22"},
      {"00B&q=x&y", "00B%26q%3Dx%26y"},
      {"00B%27%", "00B%2527%25"},
      {"00B\r\nHost: x", "00B%0D%0AHost:%20x"},
      {"00B#?/\\+", "00B%23?/%5C+"},
      {"00Bé😀", "00B%C3%A9%F0%9F%98%80"},
      {"00B\xFF", "00B%FF"},
      {std::string("00B\0x", 5), "00B%00x"},
      {long10000, long10000},
  };
  for (const auto& [id, encoded] : encodedById) {
    host.network->answer(queryUrl(encoded), StubNetwork::body(listViewBody("x", "Account")));

    EXPECT_THAT(ids({id}).values, ElementsAre(ById{{id, {listView, account}}})) << id;

    EXPECT_EQ(host.network->count(queryUrl(encoded)), 1U) << id;
  }
  EXPECT_THAT(host.network->unscripted(), IsEmpty());
}

TEST_F(SObjectsDataServiceIdsTest, AsksForAnEmptyIdWhenItsPrefixIsAListViews) {
  host.network->answer(
      listUrl,
      StubNetwork::body(
          R"({"sobjects":[{"name":"ListView","keyPrefix":"","label":"","labelPlural":"","createable":false}]})"));
  service->loadSObjects(nullptr);
  queues.runAll();
  host.network->answer(queryUrl(""), StubNetwork::body(R"({"records":[]})"));

  EXPECT_EQ(ids({""}).values.front().at("").type->name, "ListView");

  EXPECT_EQ(host.network->count(queryUrl("")), 1U);
}

}  // namespace
}  // namespace vellora
