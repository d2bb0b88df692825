#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/records-server/RecordsServer.h"
#include "apps/records-server/RequestTarget.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "hostkit/network/CurlNetwork.h"
#include "testkit/RecordingLogger.h"
#include "tests/support/Answer.h"
#include "tests/support/Awaited.h"
#include "tests/support/PrintRecords.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/DataServices/SObjectsDataService.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Models/SObjectsResponse.h"

// The whole way: the service, a network over real HTTP, each of the ready-made caches, the demo server.

namespace vellora {
namespace {

using CorvaneSDK::CacheTable;
using CorvaneSDK::metaEquals;
using CorvaneSDK::Query;
using hostkit::CurlNetwork;
using hostkit::SQLiteCache;
using recordsserver::DataSet;
using recordsserver::Fault;
using recordsserver::RecordsServer;
using recordsserver::RequestTarget;
using testing::ElementsAre;
using testing::IsEmpty;
using testkit::RecordingLogger;
using tests::Answer;
using tests::TemporaryFolder;

using ById = std::map<std::string, SObjectsDataService::TypeAndInstance>;
using ByName = std::map<std::string, std::optional<SObject>>;

constexpr const char* tableKey = "OPS_SObjectsCacheTable";
constexpr const char* listLine = "GET /services/data/v50.0/sobjects";
constexpr const char* queryLine =
    "GET /services/data/v50.0/query?q=SELECT%20Id,SobjectType%20FROM%20ListView%20WHERE%20Id%20%3D%20'";

std::string nameOf(const std::optional<SObject>& sObject) {
  return sObject ? sObject->name : "nil";
}

/// On the cache of that name.
class SObjectsLookupTest : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override { serve(DataSet::builtIn()); }

  void serve(DataSet data) {
    server = RecordsServer::start(std::move(data)).value();
    network = CurlNetwork::make({.server = server->url()}).value();
    start();
  }

  /// What another start of the program on the same file has; in memory, another service on the same cache.
  void start() {
    service.reset();
    if (GetParam() == "SQLiteCache") {
      cache.reset();
      cache = SQLiteCache::open(folder.file("cache.sqlite")).value();
    } else if (!cache) {
      cache = std::make_shared<hostkit::MemoryCache>();
    }
    service = std::make_shared<SObjectsDataService>(RequiredAPI{network, cache, logger}, 3600);
  }

  std::optional<SObjectsDataServiceError> load() {
    const auto answer = std::make_shared<std::promise<std::optional<SObjectsDataServiceError>>>();
    service->loadSObjects([answer](const auto& error) { answer->set_value(error); });
    return tests::awaited(answer->get_future());
  }

  ById ids(std::vector<std::string> asked) {
    return Answer(service->sObjectsForIds(std::move(asked))).value().value();
  }
  ByName names(std::vector<std::string> asked) {
    return Answer(service->sObjectsForNames(std::move(asked))).value().value();
  }

  std::size_t rows(const std::string& kind) {
    return CacheTable::open(*cache, tableKey)
        ->fetch(Query::exact(metaEquals({{"cacheEntryType", kind}})))
        .size();
  }

  TemporaryFolder folder;
  std::unique_ptr<RecordsServer> server;
  std::shared_ptr<RecordingLogger> logger = std::make_shared<RecordingLogger>();
  std::shared_ptr<CurlNetwork> network;
  std::shared_ptr<CorvaneSDK::Cache> cache;
  std::shared_ptr<SObjectsDataService> service;
};

TEST_P(SObjectsLookupTest, FetchesOnceAndWritesTheRows) {
  EXPECT_EQ(nameOf(names({"Account"}).at("Account")), "Account");
  EXPECT_EQ(nameOf(names({"Contact"}).at("Contact")), "Contact");
  EXPECT_EQ(nameOf(ids({"001000000000001"}).at("001000000000001").type), "Account");

  EXPECT_THAT(server->requests(), ElementsAre(listLine));
  EXPECT_EQ(rows("sObjects"), 1U);
  EXPECT_EQ(rows("keyPrefixes"), 1U);
  EXPECT_EQ(rows("sObject"), 2U);
  EXPECT_EQ(rows("keyPrefix"), 1U);
  EXPECT_EQ(service->cacheState(), CacheState::valid);
  EXPECT_THAT(logger->texts(CorvaneSDK::LogLevel::error), IsEmpty());
}

TEST_P(SObjectsLookupTest, GivesTheTypeOfAListViewAndTheTypeThatItLists) {
  ASSERT_EQ(load(), std::nullopt);

  const auto found = ids({"00B000000000001", "00B00000000000a", "00B00000000000A"});

  EXPECT_EQ(nameOf(found.at("00B000000000001").type), "ListView");
  EXPECT_EQ(nameOf(found.at("00B000000000001").instance), "Account");
  EXPECT_EQ(nameOf(found.at("00B00000000000a").instance), "Vehicle");
  EXPECT_EQ(nameOf(found.at("00B00000000000A").instance), "DeliveryStop");
  EXPECT_THAT(server->requests(),
              testing::UnorderedElementsAre(listLine, std::string(queryLine) + "00B000000000001'",
                                            std::string(queryLine) + "00B00000000000a'",
                                            std::string(queryLine) + "00B00000000000A'"));
}

TEST_P(SObjectsLookupTest, AnswersAfterARestartWithoutARequest) {
  ASSERT_EQ(load(), std::nullopt);
  const std::vector<std::string> asked{"00B000000000001", "003000000000001", "999000000000001"};
  const auto first = ids(asked);
  server->clearRequests();

  start();

  EXPECT_EQ(service->cacheState(), CacheState::valid);
  EXPECT_EQ(load(), std::nullopt);
  EXPECT_EQ(ids(asked), first);
  EXPECT_EQ(nameOf(names({"Invoice"}).at("Invoice")), "Invoice");
  EXPECT_THAT(server->requests(), IsEmpty());
}

TEST_P(SObjectsLookupTest, AnswersAfterARestartWithoutAServer) {
  ASSERT_EQ(load(), std::nullopt);
  const auto first = ids({"00B000000000001"});

  server->stop();
  start();

  EXPECT_EQ(ids({"00B000000000001"}), first);
}

TEST_P(SObjectsLookupTest, AsksAgainForAListViewThatListsNoType) {
  ASSERT_EQ(load(), std::nullopt);
  server->clearRequests();

  for (int round = 0; round < 2; ++round) {
    const auto found = ids({"00B00000000000cAAE", "00B00000000000dAAE"});
    EXPECT_EQ(nameOf(found.at("00B00000000000cAAE").instance), "nil");  // lists no type
    EXPECT_EQ(nameOf(found.at("00B00000000000dAAE").instance), "nil");  // one that the object list lacks
  }

  EXPECT_EQ(server->requests().size(), 3U);  // the second is known, and known not to be in the list
}

TEST_P(SObjectsLookupTest, ReportsWhatTheServerDidWrong) {
  server->setFault(RecordsServer::everything, Fault::fail(500), 1);
  const auto refused = load();
  ASSERT_TRUE(refused);
  EXPECT_EQ(refused->errorCase(), SObjectsDataServiceError::Case::other);

  server->setFault(RecordsServer::everything, Fault::truncate(1000), 1);
  const auto truncated = load();
  ASSERT_TRUE(truncated);
  EXPECT_EQ(truncated->errorCase(), SObjectsDataServiceError::Case::other);

  EXPECT_EQ(service->cacheState(), CacheState::empty);
  EXPECT_EQ(load(), std::nullopt);
  EXPECT_EQ(service->cacheState(), CacheState::valid);
}

TEST_P(SObjectsLookupTest, SendsAHostileIdAsTheTextOfOneQuery) {
  ASSERT_EQ(load(), std::nullopt);
  CacheTable::open(*cache, tableKey)
      ->upsert({Data(std::string("\"ListView\"")),
                {{"cacheEntryType", "keyPrefix"}, {"keyPrefix", ""}},
                std::nullopt});
  server->clearRequests();
  ids({"00B000000000001"});
  const auto harmless = server->recordedRequests().front();

  for (const std::string& id : {
           std::string("00B' OR Id != '"),
           std::string("00B\"`\\"),
           std::string("00B&q=SELECT&x=y#z?"),
           std::string("00B%27%20%%"),
           std::string("00B\r\nHost: elsewhere\r\n\r\nGET / HTTP/1.1"),
           std::string("00B\0\x01\x7F", 6),
           std::string("00Bé€😀 + ;"),
           std::string("00B\xFF\xC3"),
           std::string(),
           "00B" + std::string(9997, 'x'),
           "00B" + std::string(9997, '\n'),
       }) {
    server->clearRequests();

    EXPECT_TRUE(Answer(service->sObjectsForIds({id})).wait());

    const auto requests = server->recordedRequests();
    ASSERT_EQ(requests.size(), 1U) << id;
    EXPECT_EQ(requests.front().method, "GET");
    EXPECT_EQ(requests.front().headers, harmless.headers) << id;
    const auto target = RequestTarget::parse(requests.front().target);
    ASSERT_TRUE(target) << id;
    EXPECT_EQ(target->path, "/services/data/v50.0/query");
    EXPECT_EQ(target->q, "SELECT Id,SobjectType FROM ListView WHERE Id = '" + id + "'");
    EXPECT_EQ(requests.front().target.find_first_of("&#"), std::string::npos)
        << "no further item, no fragment";
  }
}

TEST_P(SObjectsLookupTest, KeepsTheHundredNewestSingleRowsOfAManyTypedServer) {
  const auto data = DataSet::generated(150);
  const auto listed = json::decode<SObjectsResponse>(data.objectList()).value().sObjects;
  serve(data);
  std::vector<std::string> asked;
  for (const auto& sObject : listed) asked.push_back(sObject.name);
  ASSERT_EQ(load(), std::nullopt);
  EXPECT_EQ(names(asked).size(), 150U);
  EXPECT_EQ(rows("sObject"), 150U);

  service.reset();

  EXPECT_TRUE(logger->waitFor("enforceCacheCount(), cacheEntryType: listView"));
  EXPECT_EQ(rows("sObject"), 100U);
  EXPECT_EQ(rows("sObjects"), 1U);
}

INSTANTIATE_TEST_SUITE_P(Caches, SObjectsLookupTest, testing::Values("MemoryCache", "SQLiteCache"),
                         [](const auto& parameter) { return parameter.param; });

}  // namespace
}  // namespace vellora
