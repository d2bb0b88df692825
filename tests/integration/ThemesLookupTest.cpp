#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "apps/records-server/RecordsServer.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "hostkit/network/CurlNetwork.h"
#include "testkit/RecordingLogger.h"
#include "tests/support/Answer.h"
#include "tests/support/Awaited.h"
#include "tests/support/PrintRecords.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/DataServices/ThemeDataService.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Models/PresentationInfo.h"
#include "vellora/Models/ThemeResponse.h"

// The whole way: the service, a network over real HTTP, each of the ready-made caches, the demo server.

namespace vellora {
namespace {

using recordsserver::DataSet;
using recordsserver::Fault;
using recordsserver::RecordsServer;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using tests::Answer;

using Themes = std::map<std::string, ThemeItem>;

constexpr const char* themeLine = "GET /services/data/v50.0/theme";

/// On the cache of that name.
class ThemesLookupTest : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override { serve(DataSet::builtIn()); }

  void serve(DataSet data) {
    server = RecordsServer::start(std::move(data)).value();
    network = hostkit::CurlNetwork::make({.server = server->url()}).value();
    cache = openCache();
    service = makeService();
  }

  [[nodiscard]] std::shared_ptr<CorvaneSDK::Cache> openCache() const {
    if (GetParam() == "MemoryCache") return std::make_shared<hostkit::MemoryCache>();
    return hostkit::SQLiteCache::open(folder.file("cache.sqlite")).value();
  }
  [[nodiscard]] std::shared_ptr<ThemeDataService> makeService() const {
    return std::make_shared<ThemeDataService>(RequiredAPI{network, cache, logger}, 3600);
  }

  std::optional<ThemeDataServiceError> load() {
    const auto answer = std::make_shared<std::promise<std::optional<ThemeDataServiceError>>>();
    service->loadThemes([answer](const auto& error) { answer->set_value(error); });
    return tests::awaited(answer->get_future());
  }
  Themes themes(const std::vector<std::string>& names) {
    return Answer(service->themes(names)).value().value_or(Themes{});
  }

  std::size_t rows(const std::string& kind) {
    using namespace CorvaneSDK;
    return CacheTable::open(*cache, "OPS_ThemesCacheTable")
        ->fetch(Query::exact(metaEquals({{"cacheEntryType", kind}})))
        .size();
  }

  tests::TemporaryFolder folder;
  std::unique_ptr<RecordsServer> server;
  std::shared_ptr<testkit::RecordingLogger> logger = std::make_shared<testkit::RecordingLogger>();
  std::shared_ptr<CorvaneSDK::Network> network;
  std::shared_ptr<CorvaneSDK::Cache> cache;
  std::shared_ptr<ThemeDataService> service;
};

TEST_P(ThemesLookupTest, LoadsOnceAndAnswersFromTheCacheAfterwards) {
  EXPECT_EQ(service->cacheState(), CacheState::empty);
  EXPECT_EQ(load(), std::nullopt);
  EXPECT_EQ(service->cacheState(), CacheState::valid);
  EXPECT_EQ(load(), std::nullopt);

  const auto found = themes({"Account", "NoSuchType", "Contact", "Account"});

  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found.at("Account").name, "Account");
  EXPECT_EQ(themes({"Contact"}).at("Contact"), found.at("Contact"));
  EXPECT_THAT(server->requests(), ElementsAre(themeLine));
  EXPECT_EQ(rows("themes"), 1U);
  EXPECT_EQ(rows("theme"), 2U);
  EXPECT_THAT(logger->texts(CorvaneSDK::LogLevel::error), IsEmpty());
}

TEST_P(ThemesLookupTest, KeepsTheServersEntriesAsTheyAre) {
  ASSERT_EQ(load(), std::nullopt);
  const auto listed = json::decode<ThemeResponse>(DataSet::builtIn().themeList()).value().themeItems;
  ASSERT_FALSE(listed.empty());
  for (const auto& entry : listed) EXPECT_EQ(themes({entry.name}), (Themes{{entry.name, entry}}));
}

TEST_P(ThemesLookupTest, GivesWhatAPresentationNeeds) {
  const std::optional<ThemeItem> theme = themes({"Account"}).at("Account");
  const PresentationInfo info(theme, {"Account", "001", "Account", "Accounts", true}, "dark");
  EXPECT_EQ(info.color, "8FB4F5");
  EXPECT_EQ(info.svgIconUrl, "https://icons.example/dark/account.svg");
  EXPECT_EQ(info.smallIconUrl, "https://icons.example/dark/account_32.png");
  EXPECT_EQ(info.largeIconUrl, "https://icons.example/dark/account_120.png");
}

TEST_P(ThemesLookupTest, EachNameFetchesTheListAsLongAsNoneHasArrived) {
  server->setFault(RecordsServer::everything, Fault::never());
  const Answer answer(service->themes({"Account", "Contact", "NoSuchType"}));

  EXPECT_TRUE(server->waitForRequests(3));
  EXPECT_THAT(server->requests(), ElementsAre(themeLine, themeLine, themeLine));

  server.reset();  // drops the three connections
  ASSERT_TRUE(answer.error());
  EXPECT_EQ(answer.error()->as<ThemeDataServiceError>()->errorCase(), ThemeDataServiceError::Case::other);
}

TEST_P(ThemesLookupTest, ReportsWhatTheServerDidWrong) {
  for (const auto& fault : {Fault::fail(500), Fault::truncate(1000)}) {
    server->setFault(RecordsServer::everything, fault, 2);
    const auto error = load();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->errorCase(), ThemeDataServiceError::Case::other);
    const Answer answer(service->themes({"Account"}));
    ASSERT_TRUE(answer.error());
    EXPECT_NE(answer.error()->as<ThemeDataServiceError>(), nullptr);
  }
  EXPECT_EQ(service->cacheState(), CacheState::empty);
  EXPECT_EQ(load(), std::nullopt);
}

TEST_P(ThemesLookupTest, AnotherServiceOnTheSameCacheNeedsNoServer) {
  ASSERT_EQ(load(), std::nullopt);
  const auto first = themes({"Account"});
  service.reset();
  if (GetParam() == "SQLiteCache") cache = openCache();  // as after a restart of the program
  server->stop();

  service = makeService();

  EXPECT_EQ(service->cacheState(), CacheState::valid);
  EXPECT_EQ(load(), std::nullopt);
  EXPECT_EQ(themes({"Account"}), first);
  EXPECT_EQ(themes({"Contact"}).size(), 1U);
}

TEST_P(ThemesLookupTest, AReleasedServiceStillAnswers) {
  for (int round = 0; round < 20; ++round) {
    const Answer answer(makeService()->themes({"Account", "Contact"}));
    ASSERT_TRUE(answer.value());
    EXPECT_EQ(answer.value()->size(), 2U);
  }
}

TEST_P(ThemesLookupTest, AnswersManyCallersAtOnce) {
  const auto ask = [this] {
    for (int round = 0; round < 5; ++round) {
      EXPECT_EQ(load(), std::nullopt);
      EXPECT_EQ(themes({"Account", "NoSuchType", "Contact"}).size(), 2U);
    }
  };
  std::vector<std::thread> callers;
  for (int index = 0; index < 4; ++index) callers.emplace_back(ask);
  for (auto& caller : callers) caller.join();
  EXPECT_THAT(server->requests(), Each(themeLine));
  EXPECT_THAT(logger->texts(CorvaneSDK::LogLevel::error), IsEmpty());
}

TEST_P(ThemesLookupTest, KeepsTheHundredNewestEntries) {
  const auto data = DataSet::generated(150);
  serve(data);
  std::vector<std::string> names;
  for (auto& entry : json::decode<ThemeResponse>(data.themeList()).value().themeItems)
    names.push_back(entry.name);
  names.resize(120);
  std::promise<void> released;  // of the last handle on what the service has of its host
  std::shared_ptr<CorvaneSDK::Logger> handle(logger.get(), [&](auto*) { released.set_value(); });
  service = std::make_shared<ThemeDataService>(RequiredAPI{network, cache, std::move(handle)}, 3600);
  ASSERT_EQ(load(), std::nullopt);
  EXPECT_EQ(themes(names).size(), 120U);
  EXPECT_EQ(rows("theme"), 120U);

  service.reset();
  released.get_future().wait();

  EXPECT_EQ(rows("theme"), 100U);
  EXPECT_EQ(rows("themes"), 1U);
  EXPECT_TRUE(
      logger->contains(R"(purging row: ["cacheEntryType": "theme", "name": ")" + names.at(19) + R"("])"));
}

INSTANTIATE_TEST_SUITE_P(Caches, ThemesLookupTest, testing::Values("MemoryCache", "SQLiteCache"),
                         [](const auto& parameter) { return parameter.param; });

}  // namespace
}  // namespace vellora
