#include "hostkit/cache/CacheArchive.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "hostkit/cache/memory/MemoryCache.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "testkit/FailingCache.h"
#include "testkit/ForwardingCache.h"
#include "tests/hostkit/cache/ManualClock.h"
#include "tests/hostkit/cache/SampleArchive.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/DataServices/FetchTime.h"
#include "vellora/Host/CacheTable.h"

namespace vellora::hostkit::tests {
namespace {

using CorvaneSDK::Query;
using CorvaneSDK::Table;
using testing::ElementsAre;

TEST(CacheArchiveTest, ItsTextGivesItBack) {
  const auto text = sampleArchive().encode();
  ASSERT_TRUE(text);
  const auto read = CacheArchive::decode(text.value());
  ASSERT_TRUE(read) << read.error().localizedDescription();
  EXPECT_EQ(read.value(), sampleArchive());
}

TEST(CacheArchiveTest, RestoresIntoAnyCacheInTheOrderOfTheRows) {
  MemoryCache cache;
  EXPECT_EQ(sampleArchive().foundIn(cache), std::nullopt);
  EXPECT_TRUE(sampleArchive().restore(cache));
  EXPECT_EQ(cache.load("text"), Data("\"ä\\\n"));
  EXPECT_NE(cache.openTable("Empty"), nullptr);
  EXPECT_THAT(cache.openTable("Rows")->load(Query::oldest({})), ElementsAre(Data("[1]"), Data(noText)));
  EXPECT_EQ(cache.openTable("Rows")->fetch(Query::oldest({}))[1].dataKey, "own key");
}

TEST(CacheArchiveTest, TellsWhatItWouldReplace) {
  MemoryCache cache;
  cache.save(Data("1"), "text");
  EXPECT_EQ(sampleArchive().foundIn(cache), "text");
  const auto table = cache.createTable(Table::emptyWithKey("Rows", Table::MaxAge::sevenDays));
  EXPECT_EQ(sampleArchive().foundIn(cache), "text") << "a table without rows is not in the way";
  table->upsert({Data("1"), {}, std::nullopt});
  EXPECT_EQ(sampleArchive().foundIn(cache), "Rows");
}

TEST(CacheArchiveTest, ARefusedWriteIsTold) {
  using Operation = testkit::FailingCache::Operation;
  for (const auto operation : {Operation::save, Operation::tableUpsert, Operation::createTable}) {
    testkit::FailingCache cache(std::make_shared<MemoryCache>());
    cache.fail(operation);
    EXPECT_FALSE(sampleArchive().restore(cache));
  }
}

TEST(CacheArchiveTest, ARefusedWriteIsToldThoughThoseBehindItAreNotRefused) {
  testkit::FailingCache cache(std::make_shared<MemoryCache>());
  cache.fail(testkit::FailingCache::Operation::tableUpsert, "Rows");
  auto archive = sampleArchive();
  archive.tables.push_back(archive.tables[1]);
  archive.tables.back().key = "Later";
  EXPECT_FALSE(archive.restore(cache));
  EXPECT_EQ(cache.openTable("Later")->load(Query::oldest({})).size(), 2U);
}

/// A host's cache that breaks its promise to have tables.
class WithoutTables final : public testkit::ForwardingCache {
 public:
  using ForwardingCache::ForwardingCache;
  std::shared_ptr<CorvaneSDK::CacheTable> openTable(const std::string&) override { return nullptr; }
  std::shared_ptr<CorvaneSDK::CacheTable> createTable(const Table&) override { return nullptr; }
};

TEST(CacheArchiveTest, ACacheWithoutTablesIsToldAndGetsTheRest) {
  WithoutTables cache(std::make_shared<MemoryCache>());
  EXPECT_FALSE(sampleArchive().restore(cache));
  EXPECT_EQ(cache.load("text"), sampleArchive().blobs[1].data);
}

TEST(CacheArchiveTest, LeavesOutTheBodiesThatANetworkKeeps) {
  const CorvaneSDK::Row body{{{"cacheEntryType", "keptBody"}}, "body"};
  const CorvaneSDK::Row other{{{"cacheEntryType", "sObject"}}, "other"};
  SQLiteCacheContents contents;
  contents.tables.push_back({.key = "Rows",
                             .rows = {{.row = body, .written = {}, .data = Data("1")},
                                      {.row = other, .written = {}, .data = Data("2")}}});
  const auto archive = CacheArchive::of(contents);
  ASSERT_EQ(archive.tables.at(0).rows.size(), 1U);
  EXPECT_EQ(archive.tables[0].rows[0].dataKey, "other");
}

TEST(CacheArchiveTest, CanCountAsFetchedAtAnotherTime) {
  const auto later = Date::since1970(1'800'000'000);
  const auto fresh = sampleArchive().fetchedAt(later);
  EXPECT_EQ(fresh.blobs[0].data, fetchTimeStamp(1'800'000'000));
  EXPECT_EQ(fresh.blobs[1], sampleArchive().blobs[1]);
  EXPECT_EQ(fresh.tables, sampleArchive().tables);
}

TEST(CacheArchiveTest, HoldsWhatTheCacheWouldReturn) {
  const vellora::tests::TemporaryFolder folder;
  const std::string path = folder.file("cache.db");
  const ManualClock clock;
  {
    SQLiteCache::Options options;
    options.clock = clock.function();
    const auto cache = SQLiteCache::open(path, options).value();
    EXPECT_TRUE(sampleArchive().restore(*cache));
    cache->save(Data("2"), "damaged");
    cache->openTable("Rows")->upsert({Data("3"), {{"kind", "damaged"}}, std::nullopt});
  }
  RawDatabase(path).run("UPDATE vellora_blob SET checksum = 0 WHERE name = CAST('damaged' AS BLOB)");
  RawDatabase(path).run("UPDATE vellora_row SET checksum = 0 WHERE data = CAST('3' AS BLOB)");
  const auto contents = SQLiteCacheContents::read(path, clock.function()());
  ASSERT_TRUE(contents);
  EXPECT_EQ(CacheArchive::of(contents.value()), sampleArchive());

  const auto aWeekLater = SQLiteCacheContents::read(
      path, Date::sinceReferenceDate(clock.function()().secondsSinceReferenceDate() + 8 * 24 * 3600.0));
  ASSERT_TRUE(aWeekLater);
  EXPECT_THAT(CacheArchive::of(aWeekLater.value()).tables[1].rows, testing::IsEmpty());
}

}  // namespace
}  // namespace vellora::hostkit::tests
