#include "vellora/Catalog/Catalog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "apps/records-server/RecordsServer.h"
#include "hostkit/StandardPlatformAPI.h"
#include "tests/support/TemporaryFolder.h"

// The catalogue as an app uses it: real queues and threads, real HTTP, a cache in a file.

namespace vellora {
namespace {

using namespace std::chrono_literals;
using recordsserver::DataSet;
using recordsserver::Fault;
using recordsserver::RecordsServer;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr const char* themesLine = "GET /services/data/v50.0/theme";
constexpr const char* typesLine = "GET /services/data/v50.0/sobjects";

class CatalogIntegrationTest : public testing::Test {
 protected:
  void SetUp() override {
    server = RecordsServer::start(DataSet::builtIn()).value();
    address = server->url();
    construct();
  }

  void construct(CatalogOptions options = {}) {
    const auto host =
        hostkit::StandardPlatformAPI::make({.server = address, .cacheFile = folder.file("cache.sqlite")});
    ASSERT_TRUE(host) << host.error().localizedDescription();
    catalog.emplace(host.value(), std::move(options));
  }

  /// A deadline that no test meets on the busiest machine.
  static constexpr QuestionOptions patiently{.deadline = 60s};

  const tests::TemporaryFolder folder;
  std::unique_ptr<RecordsServer> server;
  std::string address;
  std::optional<Catalog> catalog;
};

TEST_F(CatalogIntegrationTest, AColdStartFetchesBothListsAndTheListViewOnce) {
  const auto answer =
      catalog->records({"001000000000009", "00B000000000003", "zzz000000000000"}, patiently).get();
  EXPECT_EQ(answer.end, End::answered);
  EXPECT_EQ(answer.found.at("001000000000009").typePresentationInfo.label, "Account");
  EXPECT_EQ(answer.found.at("00B000000000003").instancePresentationInfo->apiName(), "Case");
  EXPECT_EQ(answer.missing.at("zzz000000000000").why(), Missing::Why::unknown);
  EXPECT_THAT(
      server->requests(),
      UnorderedElementsAre(themesLine, typesLine,
                           "GET /services/data/v50.0/query?q=SELECT%20Id,SobjectType%20FROM%20ListView%20"
                           "WHERE%20Id%20%3D%20'00B000000000003'"));
}

TEST_F(CatalogIntegrationTest, ASecondStartAnswersWithoutTheServer) {
  static_cast<void>(catalog->records({"001000000000009"}, patiently).get());
  static_cast<void>(catalog->headlines({"Account"}, patiently).get());
  server->stop();
  construct();
  const auto records = catalog->records({"001000000000009"}, patiently).get();
  EXPECT_EQ(records.found.size(), 1U);
  EXPECT_FALSE(records.ageOf("001000000000009").isStale);
  EXPECT_EQ(catalog->headlines({"Account"}, patiently).get().found.size(), 1U);
}

TEST_F(CatalogIntegrationTest, AServerThatIsGoneIsAReasonThatNamesTheRequest) {
  static_cast<void>(catalog->types({"Account"}, patiently).get());
  server->stop();
  const auto columns = catalog->searchColumns({"Account"}, patiently).get();
  EXPECT_EQ(columns.end, End::failed);
  EXPECT_THAT(columns.missing.at("Account").text(),
              HasSubstr("/services/data/v50.0/search/layout?q=Account"));
  const auto refreshed = catalog->refresh({.deadline = patiently.deadline}).get();
  EXPECT_EQ(refreshed.end, End::failed);
  EXPECT_EQ(catalog->readiness().readinessCase(), Readiness::Case::failed);
}

TEST_F(CatalogIntegrationTest, AnEntryThatNeverComesKeepsNoOtherFromTheAnswer) {
  static_cast<void>(catalog->types({"Account"}, patiently).get());
  server->setFault("/services/data/v50.0/query", Fault::never());
  const auto answer = catalog->records({"001000000000009", "00B000000000003"}, {.deadline = 300ms}).get();
  EXPECT_EQ(answer.end, End::timedOut);
  EXPECT_EQ(answer.missing.at("00B000000000003").why(), Missing::Why::timedOut);
}

TEST_F(CatalogIntegrationTest, FindsLayoutsOfManyTypesAndListsThem) {
  const auto all = catalog->allTypes({}, patiently).get();
  ASSERT_GT(all.found.size(), 30U);
  std::vector<std::string> names;
  for (const auto& [name, info] : all.found) names.push_back(name);
  const auto columns = catalog->searchColumns(names, patiently).get();
  EXPECT_EQ(columns.found.size() + columns.missing.size(), names.size());
  EXPECT_TRUE(columns.found.contains("Account"));
  const auto headlines = catalog->headlines(names, patiently).get();
  EXPECT_EQ(headlines.found.size() + headlines.missing.size(), names.size());
  EXPECT_TRUE(headlines.found.contains("Account"));
}

TEST_F(CatalogIntegrationTest, ARefreshFindsNothingNewAndForgettingLeavesNothing) {
  static_cast<void>(catalog->records({"001000000000009"}, patiently).get());
  static_cast<void>(catalog->searchColumns({"Account"}, patiently).get());
  const auto refreshed = catalog->refresh({.deadline = patiently.deadline}).get();
  EXPECT_EQ(refreshed.end, End::answered);
  EXPECT_THAT(refreshed.found, IsEmpty());
  catalog->forget();
  server->stop();
  EXPECT_EQ(catalog->types({"Account"}, {.deadline = 60s, .source = Source::cacheOnly})
                .get()
                .missing.at("Account")
                .why(),
            Missing::Why::notCached);
  EXPECT_EQ(catalog->searchColumns({"Account"}, {.deadline = 60s, .source = Source::cacheOnly})
                .get()
                .missing.at("Account")
                .why(),
            Missing::Why::notCached);
}

}  // namespace
}  // namespace vellora
