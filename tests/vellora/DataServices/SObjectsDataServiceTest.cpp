#include "vellora/DataServices/SObjectsDataService.h"

#include "tests/vellora/DataServices/SObjectsDataServiceFixture.h"

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testkit::StubNetwork;
using tests::TestError;
using CacheState = SObjectsDataService::CacheState;

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

TEST_F(SObjectsDataServiceTest, LogsThatTheFetchHasCompletedBeforeItSaysSo) {
  host.network->answer(listUrl, StubNetwork::body(listBody));
  std::string lastLine;

  service->loadSObjects([&](const auto&) { lastLine = host.infos().back(); });
  queues.runAll();

  EXPECT_EQ(lastLine, "loadSObjects(completion:), fetch completed");
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
