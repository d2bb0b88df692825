#include "vellora/DataServices/SObjectsDataService.h"

#include <algorithm>

#include "tests/DataServices/SObjectsFixture.h"
#include "tests/support/ManualQueues.h"
#include "tests/support/TestClock.h"
#include "tests/support/TestError.h"
#include "vellora/Host/CacheTable.h"

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testkit::FailingCache;
using testkit::StubNetwork;
using tests::TestError;
using CacheState = SObjectsDataService::CacheState;
using TypeAndInstance = SObjectsDataService::TypeAndInstance;
using ById = std::map<std::string, TypeAndInstance>;
using ByName = std::map<std::string, std::optional<SObject>>;

constexpr const char* tableKey = "OPS_SObjectsCacheTable";
constexpr const char* errorLine = "VelloraService: SObjectsDataServiceError: ";
constexpr const char* noDataLine =
    "VelloraService: SObjectsDataServiceError: The operation could not be completed. "
    "(SObjectsDataServiceError.noData)";

class SObjectsDataServiceTest : public testing::Test {
 protected:
  template <class T>
  void watch(const Publisher<T>& publisher, Received<T>& received) {
    token = publisher.sink([&received](T value) { received.values.push_back(std::move(value)); },
                           [&received](const Completion& end) { received.end = end; });
  }

  Received<ByName> names(std::vector<std::string> asked) {
    Received<ByName> received;
    watch(service->sObjectsForNames(std::move(asked)), received);
    queues.runAll();
    token.cancel();
    return received;
  }

  Received<ById> ids(std::vector<std::string> asked) {
    Received<ById> received;
    watch(service->sObjectsForIds(std::move(asked)), received);
    queues.runAll();
    token.cancel();
    return received;
  }

  /// A cache that holds the list of four, and nothing else; nothing of it logged or counted.
  void cacheList() {
    host.network->answer(listUrl, StubNetwork::body(listBody));
    service->loadSObjects(nullptr);
    queues.runAll();
    forget();
  }

  void forget() {
    host.logger->clear();
    host.cache->clearCalls();
  }

  tests::TestClock clock{Date::since1970(1'700'000'000)};
  tests::ManualQueues queues;
  SObjectsHost host;
  std::shared_ptr<SObjectsDataService> service = std::make_shared<SObjectsDataService>(host.api(), 300);
  AnyCancellable token;
};

TEST_F(SObjectsDataServiceTest, NamesItsRowKindsAndKeysAsTheyAreStored) {
  using Constants = SObjectsDataService::Constants;
  using Type = SObjectsDataService::CacheEntryType;
  EXPECT_EQ(Constants::id, "id");
  EXPECT_EQ(Constants::name, "name");
  EXPECT_EQ(Constants::keyPrefix, "keyPrefix");
  EXPECT_EQ(Constants::cacheEntryType, "cacheEntryType");
  EXPECT_EQ(Constants::queryApiVersion, "v50.0");
  EXPECT_EQ(rawValue(Type::listView), "listView");
  EXPECT_EQ(rawValue(Type::sObjects), "sObjects");
  EXPECT_EQ(rawValue(Type::sObject), "sObject");
  EXPECT_EQ(rawValue(Type::keyPrefixes), "keyPrefixes");
  EXPECT_EQ(rawValue(Type::keyPrefix), "keyPrefix");
}

TEST_F(SObjectsDataServiceTest, OnlyOpensItsTableWhenItIsMade) {
  EXPECT_THAT(host.cache->callTexts(),
              ElementsAre(std::string("openTable ") + tableKey, std::string("createTable ") + tableKey));
  EXPECT_THAT(host.logger->lines(), IsEmpty());
  EXPECT_EQ(host.network->count(), 0U);
}

// Loading the list.

TEST_F(SObjectsDataServiceTest, LoadsTheListOfAnEmptyCache) {
  host.network->answer(listUrl, StubNetwork::body(listBody));
  int completions = 0;

  service->loadSObjects([&](const auto& error) {
    EXPECT_FALSE(error);
    ++completions;
  });

  EXPECT_EQ(host.network->count(), 0U);  // the request is the queue's work
  queues.runAll();
  EXPECT_EQ(completions, 1);
  EXPECT_THAT(host.network->urls(), ElementsAre(listUrl));
  EXPECT_THAT(host.infos(),
              ElementsAre("loadSObjects(completion:), cacheState: empty", "save(_:)", "saveKeyPrefixes(_:)",
                          "fetchedSObjects(), sObjects was fetched then cached",
                          "loadSObjects(completion:), fetch completed"));
  EXPECT_THAT(host.errors(), IsEmpty());
  EXPECT_EQ(service->cacheState(), CacheState::valid);
}

TEST_F(SObjectsDataServiceTest, AsksForTheListWithAPlainGet) {
  host.network->answer(listUrl, StubNetwork::body(listBody));

  service->loadSObjects(nullptr);
  queues.runAll();

  ASSERT_EQ(host.network->count(), 1U);
  const URLRequest request = host.network->requests().front().request.base();
  EXPECT_EQ(request.httpMethod, "GET");
  EXPECT_EQ(request.timeoutInterval, 60.0);
  EXPECT_EQ(request.cachePolicy, URLRequestCachePolicy::useProtocolCachePolicy);
  EXPECT_TRUE(request.headers.empty());
  EXPECT_FALSE(request.body);
}

TEST_F(SObjectsDataServiceTest, CompletesALoadInsideTheCallWhenTheCacheIsValid) {
  cacheList();
  bool completed = false;

  service->loadSObjects([&](const auto& error) {
    EXPECT_FALSE(error);
    completed = true;
  });

  EXPECT_TRUE(completed);
  EXPECT_EQ(queues.pending(), 0U);
  EXPECT_EQ(host.network->count(), 1U);
  EXPECT_THAT(host.infos(), ElementsAre("loadSObjects(completion:), cacheState: valid"));
}

TEST_F(SObjectsDataServiceTest, LooksAtTheCacheTwiceForALoad) {
  cacheList();

  service->loadSObjects(nullptr);

  const std::string rows = std::string("tableFetch ") + tableKey + " cacheEntryType=sObjects";
  EXPECT_THAT(host.cache->callTexts(), ElementsAre(rows, "load ops.sobject.fetch.timestamp", rows,
                                                   "load ops.sobject.fetch.timestamp"));
}

TEST_F(SObjectsDataServiceTest, LoadsAnExpiredListAnew) {
  cacheList();
  clock.advance(301);
  EXPECT_EQ(service->cacheState(), CacheState::expired);
  host.network->answer(listUrl, StubNetwork::body(R"({"sobjects":[]})"));

  service->loadSObjects(nullptr);
  queues.runAll();

  EXPECT_EQ(host.network->count(), 2U);
  EXPECT_EQ(service->cacheState(), CacheState::valid);
  EXPECT_THAT(names({"Account"}).values, ElementsAre(ElementsAre(Pair("Account", std::nullopt))));
}

TEST_F(SObjectsDataServiceTest, TellsOfALoadThatBroughtNothing) {
  cacheList();
  clock.advance(301);
  host.network->answer(listUrl, StubNetwork::nothing());
  std::optional<SObjectsDataServiceError> failure;

  service->loadSObjects([&](const auto& error) { failure = error; });
  queues.runAll();

  EXPECT_EQ(failure, SObjectsDataServiceError::noData());
  // Once where the request failed, once where the failure leaves the service.
  EXPECT_THAT(host.errors(), ElementsAre(noDataLine, noDataLine));
  EXPECT_THAT(host.infos(), ElementsAre("loadSObjects(completion:), cacheState: expired"));
  EXPECT_EQ(service->cacheState(), CacheState::expired);
}

TEST_F(SObjectsDataServiceTest, LogsAFailedLoadOnceWhenNobodyIsToBeTold) {
  host.network->answer(listUrl, StubNetwork::nothing());

  service->loadSObjects(nullptr);
  queues.runAll();

  EXPECT_THAT(host.errors(), ElementsAre(noDataLine));
}

TEST_F(SObjectsDataServiceTest, WrapsTheNetworksError) {
  host.network->answer(listUrl, StubNetwork::failure(TestError{"unreachable"}));
  std::optional<SObjectsDataServiceError> failure;

  service->loadSObjects([&](const auto& error) { failure = error; });
  queues.runAll();

  EXPECT_EQ(failure, SObjectsDataServiceError::other(TestError{"unreachable"}));
  EXPECT_THAT(host.errors(),
              ElementsAre(std::string(errorLine) + "unreachable",
                          std::string(errorLine) + "The operation could not be completed. "
                                                   "(SObjectsDataServiceError.other: unreachable)"));
  EXPECT_EQ(service->cacheState(), CacheState::empty);
}

class TruncatingNetwork final : public CorvaneSDK::Network {
 public:
  void sendRequest(const CorvaneSDK::NetRequest&, Completion completion) override {
    completion(Data(std::string(listBody)), TestError{"truncated"}, std::nullopt);
  }
};

TEST_F(SObjectsDataServiceTest, DoesNotTrustABodyThatCameWithAnError) {
  service = std::make_shared<SObjectsDataService>(
      RequiredAPI{std::make_shared<TruncatingNetwork>(), host.cache, host.logger}, 300);

  EXPECT_EQ(names({"Account"}).failure(),
            "The operation could not be completed. (SObjectsDataServiceError.other: truncated)");
  EXPECT_EQ(service->cacheState(), CacheState::empty);
}

TEST_F(SObjectsDataServiceTest, WrapsADecodingErrorAndKeepsTheOldList) {
  cacheList();
  clock.advance(301);
  host.network->answer(listUrl, StubNetwork::body(R"({"sobjects":[{"name":"Account"}]})"));
  std::optional<SObjectsDataServiceError> failure;

  service->loadSObjects([&](const auto& error) { failure = error; });
  queues.runAll();

  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->errorCase(), SObjectsDataServiceError::Case::other);
  EXPECT_EQ(failure->payload()->localizedDescription(), "missing key \"label\" at $.sobjects[0]");
  EXPECT_EQ(host.errors().front(), std::string(errorLine) + "missing key \"label\" at $.sobjects[0]");
  EXPECT_THAT(names({"Account"}).values, ElementsAre(ElementsAre(Pair("Account", account))));
}

TEST_F(SObjectsDataServiceTest, DecodesABodyWhateverItsStatus) {
  host.network->answer(listUrl, StubNetwork::body(listBody).with({"", 500, {}}));

  service->loadSObjects(nullptr);
  queues.runAll();

  EXPECT_EQ(service->cacheState(), CacheState::valid);
}

TEST_F(SObjectsDataServiceTest, SendsARequestForEachLoadUnderWay) {
  host.network->answer(listUrl, StubNetwork::body(listBody).held());
  int completions = 0;

  service->loadSObjects([&](const auto&) { ++completions; });
  service->loadSObjects([&](const auto&) { ++completions; });
  queues.runAll();

  EXPECT_EQ(host.network->count(), 2U);
  host.network->releaseAll();
  EXPECT_EQ(completions, 2);
}

// Names.

TEST_F(SObjectsDataServiceTest, DoesNothingForALookupThatNobodySubscribesTo) {
  const auto byId = service->sObjectsForIds({"001A"});
  const auto byName = service->sObjectsForNames({"Account"});

  EXPECT_EQ(queues.pending(), 0U);
  EXPECT_THAT(host.logger->lines(), IsEmpty());
}

TEST_F(SObjectsDataServiceTest, AnswersNoNamesAndNoIdsWithNothing) {
  EXPECT_THAT(names({}).values, ElementsAre(ByName{}));
  EXPECT_THAT(ids({}).values, ElementsAre(ById{}));
  EXPECT_EQ(host.network->count(), 0U);
  EXPECT_THAT(host.logger->lines(), IsEmpty());
}

TEST_F(SObjectsDataServiceTest, LooksANameUpOnItsQueue) {
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

TEST_F(SObjectsDataServiceTest, TakesANameFromTheCachedListAndKeepsItSingly) {
  cacheList();

  EXPECT_THAT(names({"Account"}).values, ElementsAre(ElementsAre(Pair("Account", account))));

  EXPECT_THAT(
      host.infos(),
      ElementsAre("sObjectForName(_:), name: Account", "cachedSObjects()", "save(_:), sObject.name: Account",
                  "sObjectsForNames(_:): tuples for each id: Account, Optional(\"Account\"))"));
  EXPECT_EQ(host.network->count(), 1U);
}

TEST_F(SObjectsDataServiceTest, TakesANameFromItsOwnRowTheNextTime) {
  cacheList();
  names({"Account"});
  forget();

  EXPECT_THAT(names({"Account"}).values, ElementsAre(ElementsAre(Pair("Account", account))));

  EXPECT_THAT(host.infos(),
              ElementsAre("sObjectForName(_:), name: Account",
                          "cachedSObject(for:), name: Account, was retrieved from cache",
                          "sObjectsForNames(_:): tuples for each id: Account, Optional(\"Account\"))"));
}

TEST_F(SObjectsDataServiceTest, ServesSingleRowsAfterTheListHasChanged) {
  cacheList();
  names({"Account"});
  clock.advance(301);
  host.network->answer(listUrl, StubNetwork::body(R"({"sobjects":[]})"));
  service->loadSObjects(nullptr);
  queues.runAll();

  EXPECT_THAT(names({"Account"}).values, ElementsAre(ElementsAre(Pair("Account", account))));
}

TEST_F(SObjectsDataServiceTest, DoesNotAskTheServerForANameThatAnOldListLacks) {
  cacheList();
  clock.advance(6 * 24 * 60 * 60);

  EXPECT_THAT(names({"account"}).values, ElementsAre(ElementsAre(Pair("account", std::nullopt))));

  EXPECT_EQ(host.network->count(), 1U);
  EXPECT_THAT(host.infos(), ElementsAre("sObjectForName(_:), name: account", "cachedSObjects()",
                                        "sObjectsForNames(_:): tuples for each id: account, nil)"));
}

TEST_F(SObjectsDataServiceTest, FetchesTheListForANameWhenNoneIsCached) {
  host.network->answer(listUrl, StubNetwork::body(listBody));

  EXPECT_THAT(names({"Contact"}).values, ElementsAre(ElementsAre(Pair("Contact", contact))));

  EXPECT_THAT(
      host.infos(),
      ElementsAre("sObjectForName(_:), name: Contact", "save(_:)", "saveKeyPrefixes(_:)",
                  "fetchedSObjects(), sObjects was fetched then cached", "save(_:), sObject.name: Contact",
                  "sObjectsForNames(_:): tuples for each id: Contact, Optional(\"Contact\"))"));
  EXPECT_EQ(service->cacheState(), CacheState::valid);
}

TEST_F(SObjectsDataServiceTest, AnswersANameThatTheFetchedListLacksWithoutAValue) {
  host.network->answer(listUrl, StubNetwork::body(R"({"sobjects":[]})"));

  const auto received = names({"Contact"});

  EXPECT_THAT(received.values, ElementsAre(ElementsAre(Pair("Contact", std::nullopt))));
  EXPECT_TRUE(received.end && !received.failed());
}

TEST_F(SObjectsDataServiceTest, TakesTheFirstOfSeveralEntriesOfAName) {
  host.network->answer(
      listUrl,
      StubNetwork::body(R"({"sobjects":[{"name":"A","label":"1","labelPlural":"","createable":true},)"
                        R"({"name":"A","label":"2","labelPlural":"","createable":true}]})"));

  EXPECT_EQ(names({"A"}).values.front().at("A")->label, "1");
}

TEST_F(SObjectsDataServiceTest, SendsARequestForEachNameWhenNoneIsCached) {
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

TEST_F(SObjectsDataServiceTest, GivesARepeatedNameOneEntryAndALineForEach) {
  cacheList();

  EXPECT_THAT(names({"Account", "Nobody", "Account"}).values,
              ElementsAre(ElementsAre(Pair("Account", account), Pair("Nobody", std::nullopt))));

  const auto lines = host.infos();
  EXPECT_THAT((std::vector<std::string>(lines.end() - 3, lines.end())),
              ElementsAre("sObjectsForNames(_:): tuples for each id: Account, Optional(\"Account\"))",
                          "sObjectsForNames(_:): tuples for each id: Nobody, nil)",
                          "sObjectsForNames(_:): tuples for each id: Account, Optional(\"Account\"))"));
}

TEST_F(SObjectsDataServiceTest, FailsALookupAsAWhole) {
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

TEST_F(SObjectsDataServiceTest, GoesOnToTheListWhenASingleRowIsDamaged) {
  cacheList();
  CorvaneSDK::CacheTable::open(*host.cache, tableKey)
      ->upsert({Data(std::string("?")), {{"cacheEntryType", "sObject"}, {"name", "Account"}}, std::nullopt});

  EXPECT_THAT(names({"Account"}).values, ElementsAre(ElementsAre(Pair("Account", account))));

  EXPECT_THAT(host.errors(), ElementsAre(testing::StartsWith("cachedSObject(for:): Failed to decode: ")));
  forget();
  EXPECT_THAT(names({"Account"}).values, ElementsAre(ElementsAre(Pair("Account", account))));
  EXPECT_THAT(host.errors(), IsEmpty());  // the row has been replaced
}

TEST_F(SObjectsDataServiceTest, GoesOnToTheServerWhenTheListIsDamaged) {
  cacheList();
  CorvaneSDK::CacheTable::open(*host.cache, tableKey)
      ->upsert({Data(std::string("?")), {{"cacheEntryType", "sObjects"}}, std::nullopt});
  EXPECT_EQ(service->cacheState(), CacheState::valid);

  EXPECT_THAT(names({"Account"}).values, ElementsAre(ElementsAre(Pair("Account", account))));

  EXPECT_EQ(host.network->count(), 2U);
}

TEST_F(SObjectsDataServiceTest, AnswersFromTheServerWhenTheHostCachesNothing) {
  for (const auto operation : {FailingCache::Operation::tableUpsert, FailingCache::Operation::save}) {
    host.cache->fail(operation);
  }
  host.network->answer(listUrl, StubNetwork::body(listBody));

  EXPECT_THAT(names({"Account"}).values, ElementsAre(ElementsAre(Pair("Account", account))));
  EXPECT_THAT(names({"Account"}).values, ElementsAre(ElementsAre(Pair("Account", account))));

  EXPECT_EQ(host.network->count(), 2U);
  EXPECT_THAT(host.errors(), IsEmpty());
}

// Ids.

TEST_F(SObjectsDataServiceTest, FindsTheTypeOfAnIdByItsPrefix) {
  cacheList();

  EXPECT_THAT(ids({"001A"}).values, ElementsAre(ById{{"001A", {account, std::nullopt}}}));

  EXPECT_THAT(
      host.infos(),
      ElementsAre("cachedKeyPrefixes()", "saveKeyPrefix(_:for:), saved name: Account for keyPrefix: 001",
                  "sObjectForName(_:), name: Account", "cachedSObjects()", "save(_:), sObject.name: Account",
                  "cachedName(for:), keyPrefix: 001, was retrieved from cache",
                  "sObjectsForIds(_:): id: 001A, (type: Account, instance: nil)"));
}

TEST_F(SObjectsDataServiceTest, FindsTheTypeOfTheNextIdInSingleRows) {
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

TEST_F(SObjectsDataServiceTest, KnowsNoIdWithoutACachedListAndAsksNobody) {
  EXPECT_THAT(ids({"001A"}).values, ElementsAre(ById{{"001A", {}}}));

  EXPECT_EQ(host.network->count(), 0U);
  EXPECT_THAT(host.infos(), ElementsAre("sObjectsForIds(_:): id: 001A, (type: nil, instance: nil)"));
}

TEST_F(SObjectsDataServiceTest, KnowsNoIdOfAnUnknownPrefix) {
  cacheList();

  EXPECT_THAT(ids({"999A"}).values, ElementsAre(ById{{"999A", {}}}));

  EXPECT_THAT(host.infos(), ElementsAre("cachedKeyPrefixes()", "cachedKeyPrefixes()",
                                        "sObjectsForIds(_:): id: 999A, (type: nil, instance: nil)"));
}

TEST_F(SObjectsDataServiceTest, LooksAShortIdUpByItsWholeText) {
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

TEST_F(SObjectsDataServiceTest, CountsTheCharactersOfAPrefixNotItsBytes) {
  host.network->answer(
      listUrl,
      StubNetwork::body(
          R"({"sobjects":[{"name":"Wide","keyPrefix":"é€😀","label":"","labelPlural":"","createable":true}]})"));
  service->loadSObjects(nullptr);
  queues.runAll();

  EXPECT_EQ(ids({"é€😀1"}).values.front().at("é€😀1").type->name, "Wide");
}

TEST_F(SObjectsDataServiceTest, TakesAnIdThatIsNoTextForUnknown) {
  cacheList();

  EXPECT_THAT(ids({"\xFF\xC3\xE2\x82", "\xF0"}).values,
              ElementsAre(ById{{"\xFF\xC3\xE2\x82", {}}, {"\xF0", {}}}));
}

TEST_F(SObjectsDataServiceTest, GivesRepeatedIdsOneEntryAndALineForEach) {
  cacheList();

  EXPECT_THAT(ids({"001A", "001A"}).values, ElementsAre(ById{{"001A", {account, std::nullopt}}}));

  const auto lines = host.infos();
  EXPECT_EQ(
      std::count(lines.begin(), lines.end(), "sObjectsForIds(_:): id: 001A, (type: Account, instance: nil)"),
      2);
}

TEST_F(SObjectsDataServiceTest, FindsBothTheTypeOfAListViewAndWhatItLists) {
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

TEST_F(SObjectsDataServiceTest, RemembersWhatAListViewLists) {
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

TEST_F(SObjectsDataServiceTest, AsksAgainForAListViewWithoutAType) {
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

TEST_F(SObjectsDataServiceTest, TakesTheFirstRowOfTheListViewQuery) {
  cacheList();
  host.network->answer(
      queryUrl("00B1"),
      StubNetwork::body(R"({"records":[{"Id":"00B1"},{"Id":"00B1","SobjectType":"Account"}]})"));

  EXPECT_THAT(ids({"00B1"}).values, ElementsAre(ById{{"00B1", {listView, std::nullopt}}}));
}

TEST_F(SObjectsDataServiceTest, KnowsNoListedTypeThatTheListLacks) {
  cacheList();
  host.network->answer(queryUrl("00B1"), StubNetwork::body(listViewBody("00B1", "Secret")));

  EXPECT_THAT(ids({"00B1"}).values, ElementsAre(ById{{"00B1", {listView, std::nullopt}}}));
}

TEST_F(SObjectsDataServiceTest, FailsTheIdsWhenOneListViewCannotBeAskedFor) {
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

TEST_F(SObjectsDataServiceTest, FetchesTheListAndTheListViewTogetherWhenTheListIsDamaged) {
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

TEST_F(SObjectsDataServiceTest, CollectsTheIdsInTheOrderInWhichTheyAreAnswered) {
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

TEST_F(SObjectsDataServiceTest, PutsAHostileIdIntoTheQueryAsItStands) {
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

TEST_F(SObjectsDataServiceTest, AsksForAnEmptyIdWhenItsPrefixIsAListViews) {
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

// Another service on the same cache.

TEST_F(SObjectsDataServiceTest, AnswersFromWhatAnEarlierServiceCached) {
  cacheList();
  host.network->answer(queryUrl("00B1"), StubNetwork::body(listViewBody("00B1", "Account")));
  ids({"00B1", "003A"});
  const std::size_t requests = host.network->count();

  service = std::make_shared<SObjectsDataService>(host.api(), 300);

  EXPECT_EQ(service->cacheState(), CacheState::valid);
  EXPECT_THAT(ids({"00B1", "003A"}).values,
              ElementsAre(ById{{"00B1", {listView, account}}, {"003A", {contact, std::nullopt}}}));
  EXPECT_EQ(host.network->count(), requests);
}

TEST_F(SObjectsDataServiceTest, PurgesTheOldestSingleRowsWhenItIsReleased) {
  std::string entries;
  std::vector<std::string> asked;
  for (int index = 1000; index < 1101; ++index) {
    asked.push_back(std::to_string(index));
    entries.append(entries.empty() ? "" : ",").append(R"({"name":")").append(asked.back());
    entries.append(R"(","label":"","labelPlural":"","createable":true})");
  }
  host.network->answer(listUrl, StubNetwork::body(R"({"sobjects":[)" + entries + "]}"));
  service->loadSObjects(nullptr);
  queues.runAll();
  names(asked);
  forget();

  service.reset();

  EXPECT_THAT(
      host.infos(),
      ElementsAre("enforceCacheCount(), cacheEntryType: keyPrefix, rows.count: 0, maxCount: 100",
                  "enforceCacheCount(), cacheEntryType: sObject, rows.count: 101, maxCount: 100",
                  R"(enforceCacheCount(), purging row: ["cacheEntryType": "sObject", "name": "1000"])",
                  "enforceCacheCount(), cacheEntryType: listView, rows.count: 0, maxCount: 100"));
}

}  // namespace
}  // namespace vellora
