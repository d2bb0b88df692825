#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "apps/records-server/RecordsServer.h"
#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/CacheArchive.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "hostkit/cache/sqlite/SQLiteCacheContents.h"
#include "tests/support/NetworkAnswer.h"
#include "tests/support/Requests.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/Catalog/Catalog.h"

// Refreshes of lists that have not changed: a catalogue, the ready-made host with a cache in a file, and the
// demo server.

namespace vellora {
namespace {

using namespace std::chrono_literals;
using recordsserver::DataSet;
using recordsserver::Fault;
using recordsserver::RecordsServer;
using testing::Each;
using testing::ElementsAre;

constexpr std::size_t manyTypes = 2000;
constexpr QuestionOptions patiently{.deadline = 60s};  // longer than any answer takes

/// How requests have ended. A network may be let go of by a thread of the library, behind the test's end.
struct Seen {
  std::mutex mutex;
  std::vector<int> statuses;  // under mutex
};

class ConditionalRefreshTest : public testing::TestWithParam<bool> {
 protected:
  ConditionalRefreshTest() { options.cacheFile = folder.file("cache.sqlite"); }

  void serve(std::size_t types) {
    server = RecordsServer::start(DataSet::generated(types), {.packsBodies = GetParam()}).value();
    options.server = server->url();
    options.observer = [seen = seen](const hostkit::RequestOutcome& outcome) {
      const std::lock_guard lock(seen->mutex);
      seen->statuses.push_back(outcome.statusCode);
    };
    construct();
  }

  /// Puts a catalogue of these options, and a host of its own, in the place of the one that there is.
  void construct() {
    catalog.reset();
    const auto made = hostkit::StandardPlatformAPI::make(options);
    ASSERT_TRUE(made) << made.error().localizedDescription();
    host = made.value();
    catalog.emplace(host, CatalogOptions{.retry = {.attempts = 1}, .loadsAtOnce = false});
  }

  /// Returns when all that the network keeps of the answers so far is kept: it does so before it answers the
  /// next request.
  void waitUntilKept() const { EXPECT_TRUE(tests::answerTo(*host->network(), tests::get("/nothing")).error); }

  /// Fetches both lists, and gives how many bytes the server has sent for it.
  std::uint64_t refresh() {
    const auto before = server->bytesSent();
    const auto answer = catalog->refresh({.deadline = 60s}).get();
    EXPECT_EQ(answer.end, End::answered);
    return server->bytesSent() - before;
  }

  [[nodiscard]] std::size_t typeCount() const { return catalog->allTypes({}, patiently).get().found.size(); }

  /// How each request has ended since the last call.
  std::vector<int> takeStatuses() {
    const std::lock_guard lock(seen->mutex);
    return std::exchange(seen->statuses, {});
  }

  /// The rows of that kind in the cache file.
  [[nodiscard]] std::size_t rowsOf(const std::string& kind) const {
    std::size_t count = 0;
    for (const auto& table : hostkit::SQLiteCacheContents::read(*options.cacheFile, now()).value().tables) {
      for (const auto& row : table.rows) {
        const auto found = row.row.meta.find("cacheEntryType");
        if (found != row.row.meta.end() && found->second == kind) ++count;
      }
    }
    return count;
  }

  const tests::TemporaryFolder folder;
  hostkit::StandardPlatformAPI::Options options;
  const std::shared_ptr<Seen> seen = std::make_shared<Seen>();
  std::unique_ptr<RecordsServer> server;
  std::shared_ptr<hostkit::StandardPlatformAPI> host;
  std::optional<Catalog> catalog;
};

INSTANTIATE_TEST_SUITE_P(, ConditionalRefreshTest, testing::Bool(),
                         [](const auto& packs) { return packs.param ? "Packed" : "Plain"; });

TEST_P(ConditionalRefreshTest, UnchangedListsTakeLessThanAHundredthOfTheBytes) {
  serve(manyTypes);
  const auto first = refresh();
  EXPECT_EQ(typeCount(), manyTypes);
  const auto again = refresh();
  EXPECT_EQ(typeCount(), manyTypes);
  EXPECT_THAT(takeStatuses(), ElementsAre(200, 200, 304, 304));
  EXPECT_GT(first, GetParam() ? 50'000U : 2'000'000U);
  EXPECT_LT(again * 100, first) << again << " bytes of " << first;
  RecordProperty("bytes_of_a_first_fetch", std::to_string(first));
  RecordProperty("bytes_of_an_unchanged_refresh", std::to_string(again));
}

TEST_P(ConditionalRefreshTest, TurnedOffEachRefreshTakesAllOfThem) {
  options.asksConditionally = false;
  serve(manyTypes);
  const auto first = refresh();
  EXPECT_EQ(refresh(), first);
  EXPECT_THAT(takeStatuses(), Each(200));
  waitUntilKept();
  EXPECT_EQ(rowsOf("keptBody"), 0U);
}

TEST_P(ConditionalRefreshTest, ChangedListsAreFetched) {
  serve(3);
  refresh();
  server->replaceData(DataSet::generated(4));
  refresh();
  EXPECT_EQ(typeCount(), 4U);
  refresh();
  EXPECT_EQ(typeCount(), 4U);
  EXPECT_THAT(takeStatuses(), ElementsAre(200, 200, 200, 200, 304, 304));
}

TEST_P(ConditionalRefreshTest, TheNextStartAsksWithConditionsToo) {
  serve(3);
  refresh();
  waitUntilKept();
  construct();
  takeStatuses();
  refresh();
  EXPECT_EQ(typeCount(), 3U);
  EXPECT_THAT(takeStatuses(), ElementsAre(304, 304));
}

TEST_P(ConditionalRefreshTest, NothingOfItIsLeftWhenTheCatalogueForgets) {
  serve(3);
  refresh();
  waitUntilKept();
  EXPECT_EQ(rowsOf("keptBody"), 2U);
  catalog->forget();
  EXPECT_EQ(rowsOf("keptBody"), 0U);
  EXPECT_EQ(rowsOf("keptBodyKey"), 0U);
  takeStatuses();
  refresh();
  EXPECT_EQ(typeCount(), 3U);
  EXPECT_THAT(takeStatuses(), ElementsAre(200, 200));
}

TEST_P(ConditionalRefreshTest, AShippedCacheHoldsNoneOfIt) {
  serve(3);
  refresh();
  waitUntilKept();
  ASSERT_EQ(rowsOf("keptBody"), 2U);
  const auto contents = hostkit::SQLiteCacheContents::read(*options.cacheFile, now()).value();
  for (const auto& table : hostkit::CacheArchive::of(contents).tables) {
    for (const auto& row : table.rows) {
      EXPECT_FALSE(row.meta.at("cacheEntryType").starts_with("keptBody")) << table.key;
    }
  }
}

TEST_P(ConditionalRefreshTest, AnotherTokenAsksForBodiesOfItsOwn) {
  std::string token = "token-of-the-first";
  options.token = [&token] { return std::optional(token); };
  serve(3);
  refresh();
  token = "token-of-the-second";
  refresh();
  EXPECT_THAT(takeStatuses(), ElementsAre(200, 200, 200, 200));
}

TEST_P(ConditionalRefreshTest, TheOwnerOfTheCacheKeepsTheBodiesWhenTheTokenIsRenewed) {
  std::string token = "token-of-the-morning";
  options.token = [&token] { return std::optional(token); };
  options.cacheOwner = "records.example somebody";
  serve(3);
  refresh();
  token = "token-of-the-evening";
  refresh();
  EXPECT_THAT(takeStatuses(), ElementsAre(200, 200, 304, 304));
}

// The owner is that of the file, which is not opened then.
TEST_P(ConditionalRefreshTest, InACacheOfYourOwnBodiesAreTheirTokensThoughAnOwnerIsNamed) {
  std::string token = "token-of-the-first";
  options.token = [&token] { return std::optional(token); };
  options.cacheOwner = "records.example somebody";
  options.cache = std::make_shared<hostkit::MemoryCache>();
  serve(3);
  refresh();
  token = "token-of-the-second";
  refresh();
  EXPECT_THAT(takeStatuses(), ElementsAre(200, 200, 200, 200));
}

TEST_P(ConditionalRefreshTest, AServerThatSaysSoUnaskedFailsTheRefreshWithItsReason) {
  serve(3);
  server->setFault(RecordsServer::everything, Fault::unaskedNotModified());
  const auto answer = catalog->refresh({.deadline = 60s}).get();
  EXPECT_EQ(answer.end, End::failed);
  ASSERT_TRUE(answer.trouble);
  EXPECT_THAT(answer.trouble->text(), testing::HasSubstr("which nobody has asked"));
  server->clearFaults();
  refresh();
  EXPECT_EQ(typeCount(), 3U);
}

TEST_P(ConditionalRefreshTest, AServerThatSaysSoOfAnotherBodyIsAskedAnew) {
  serve(3);
  refresh();
  takeStatuses();
  server->replaceData(DataSet::generated(4));
  server->setFault("/services/data/v50.0/sobjects", Fault::notModifiedForAnother(), 1);
  server->setFault("/services/data/v50.0/theme", Fault::notModifiedForAnother(), 1);
  refresh();
  EXPECT_EQ(typeCount(), 4U);
  EXPECT_THAT(takeStatuses(), ElementsAre(200, 200));
}

// Nobody can tell such a server from a right one. What is believed so is believed for seven days at most.
TEST_P(ConditionalRefreshTest, AServerWhoseTagStaysIsBelievedUntilTheCatalogueForgets) {
  serve(3);
  server->setFault(RecordsServer::everything, Fault::frozenTag());
  refresh();
  server->replaceData(DataSet::generated(4));
  refresh();
  EXPECT_EQ(typeCount(), 3U);
  catalog->forget();
  refresh();
  EXPECT_EQ(typeCount(), 4U);
}

TEST_P(ConditionalRefreshTest, EachListHasOneRequestUnderWayHoweverManyAskForIt) {
  serve(3);
  server->setFault("/services/data/v50.0/theme", Fault::never(), 1);
  server->setFault("/services/data/v50.0/sobjects", Fault::never(), 1);
  std::vector<Question<TypeChange>> asked;
  for (int time = 0; time < 5; ++time) asked.push_back(catalog->refresh({.deadline = 60s}));
  ASSERT_TRUE(server->waitForRequests(2));
  std::vector<Question<ObjectPresentationInfo>> more;
  for (int time = 0; time < 5; ++time) more.push_back(catalog->allTypes({}, patiently));
  catalog.reset();
  // The network sends in order: what it was given before, the server has been asked by then.
  static_cast<void>(tests::answerTo(*host->network(), tests::get("/behind")));
  EXPECT_THAT(server->requests(),
              testing::UnorderedElementsAre("GET /services/data/v50.0/theme",
                                            "GET /services/data/v50.0/sobjects", "GET /behind"));
}

}  // namespace
}  // namespace vellora
