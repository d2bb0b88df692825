#include "hostkit/cache/sqlite/SQLiteCache.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/hostkit/cache/ManualClock.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/Host/CacheTable.h"

namespace vellora::hostkit::tests {
namespace {

using vellora::tests::TemporaryFolder;

using CorvaneSDK::metaEquals;
using CorvaneSDK::Query;
using CorvaneSDK::Row;
using CorvaneSDK::Table;
using testing::ElementsAre;
using testing::IsEmpty;

class SQLiteCacheTest : public testing::Test {
 protected:
  [[nodiscard]] std::shared_ptr<SQLiteCache> open(std::chrono::milliseconds busyTimeout) const {
    SQLiteCache::Options options;
    options.clock = clock.function();
    options.busyTimeout = busyTimeout;
    return SQLiteCache::open(path, options).value();
  }
  [[nodiscard]] std::shared_ptr<SQLiteCache> open() const { return open(std::chrono::milliseconds(1)); }

  TemporaryFolder folder;
  const std::string path = folder.file("cache.db");
  ManualClock clock;
};

Data blob(const std::string& text) {
  return Data(text);
}

Table rowsTable() {
  return Table::emptyWithKey("Rows", Table::MaxAge::sevenDays);
}

TEST_F(SQLiteCacheTest, OpensWithoutOptions) {
  const auto opened = SQLiteCache::open(path);
  ASSERT_TRUE(opened.hasValue());
  EXPECT_TRUE(opened.value()->save(blob("1"), "a"));
}

TEST_F(SQLiteCacheTest, IsOneFileOnceItIsClosed) {
  open()->save(blob("1"), "a");
  EXPECT_THAT(fileNames(folder.path()), ElementsAre("cache.db"));
}

TEST_F(SQLiteCacheTest, LeavesInTheLogWhatAFirstLoadWrites) {
  const auto cache = open();
  ASSERT_TRUE(cache->save(Data(std::string(6'000'000, 'a')), "a"));
  EXPECT_LT(std::filesystem::file_size(path), 1'000'000U) << "it waited for the disk";

  ASSERT_TRUE(cache->save(Data(std::string(6'000'000, 'b')), "b"));
  EXPECT_GT(std::filesystem::file_size(path), 12'000'000U) << "the log grows on";
}

TEST_F(SQLiteCacheTest, LetsGoOfALargeRowThatItKeeps) {
  const auto cache = open();
  const auto table = cache->createTable(rowsTable());
  ASSERT_TRUE(table->upsert({Data(std::string(100'000, 'a')), {{"name", "list"}}, std::nullopt}));
  const Data kept = table->load(Query::oldest({})).at(0);
  ASSERT_TRUE(table->load(Query::oldest({})).at(0).sharesBufferWith(kept));
  cache->releaseMemory();
  EXPECT_FALSE(table->load(Query::oldest({})).at(0).sharesBufferWith(kept));
}

TEST_F(SQLiteCacheTest, FileAndLogAreForTheOwnerAlone) {
  const mode_t before = umask(0);
  const auto cache = open();
  cache->save(blob("1"), "a");
  umask(before);

  EXPECT_EQ(modeOf(path), 0600U);
  EXPECT_EQ(modeOf(path + "-wal"), 0600U);
  EXPECT_EQ(modeOf(path + "-shm"), 0600U);
}

TEST_F(SQLiteCacheTest, CreatesMissingFoldersForTheOwnerAlone) {
  const mode_t before = umask(0);
  const auto opened = SQLiteCache::open(folder.file("new/deep/cache.db"));
  umask(before);

  ASSERT_TRUE(opened.hasValue());
  EXPECT_EQ(modeOf(folder.file("new")), 0700U);
  EXPECT_EQ(modeOf(folder.file("new/deep")), 0700U);
}

TEST_F(SQLiteCacheTest, TakesAFileBackFromOtherEyes) {
  open()->save(blob("1"), "a");
  chmod(path.c_str(), 0644);

  EXPECT_EQ(open()->load("a"), blob("1"));

  EXPECT_EQ(modeOf(path), 0600U);
}

TEST_F(SQLiteCacheTest, StaysWithItsFileWhenTheWorkingFolderChanges) {
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  const auto opened = SQLiteCache::open("cache.db");
  std::filesystem::current_path(before);

  ASSERT_TRUE(opened.hasValue());
  EXPECT_TRUE(opened.value()->save(blob("1"), "a"));
  EXPECT_EQ(open()->load("a"), blob("1"));
}

TEST_F(SQLiteCacheTest, FollowsALinkToTheFile) {
  open()->save(blob("1"), "a");
  const std::string link = folder.file("link.db");
  std::filesystem::create_symlink("cache.db", link);

  const auto opened = SQLiteCache::open(link);

  ASSERT_TRUE(opened.hasValue());
  EXPECT_EQ(opened.value()->load("a"), blob("1"));
}

TEST_F(SQLiteCacheTest, TwoConnectionsSeeEachOthersWrites) {
  const auto first = open();
  const auto second = open();
  first->save(blob("1"), "a");
  EXPECT_EQ(second->load("a"), blob("1"));

  const auto table = second->createTable(rowsTable());
  table->upsert({blob("row"), {{"name", "a"}}, std::nullopt});

  const auto seen = first->openTable("Rows");
  ASSERT_NE(seen, nullptr);
  EXPECT_THAT(seen->load(Query::exact(metaEquals({{"name", "a"}}))), ElementsAre(blob("row")));
}

TEST_F(SQLiteCacheTest, ConnectionsThatStartAtOnceAgreeOnOneFile) {
  std::vector<std::shared_ptr<SQLiteCache>> caches(4);
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < caches.size(); ++i) {
    threads.emplace_back([this, &slot = caches[i], i] {
      slot = open(std::chrono::seconds(20));
      slot->save(blob(std::to_string(i)), "own " + std::to_string(i));
    });
  }
  for (auto& thread : threads) thread.join();

  for (const auto& cache : caches) {
    for (std::size_t i = 0; i < caches.size(); ++i) {
      EXPECT_EQ(cache->load("own " + std::to_string(i)), blob(std::to_string(i)));
    }
  }
  caches.clear();
  EXPECT_THAT(fileNames(folder.path()), ElementsAre("cache.db"));
}

TEST_F(SQLiteCacheTest, WritesFailAndReadsGoOnWhileAnotherProcessWrites) {
  const auto cache = open();
  const auto table = cache->createTable(rowsTable());
  cache->save(blob("1"), "a");
  table->upsert({blob("row"), {{"name", "a"}}, std::nullopt});
  RawDatabase other(path);
  other.run("BEGIN IMMEDIATE");

  EXPECT_FALSE(cache->save(blob("2"), "a"));
  EXPECT_FALSE(cache->remove("a"));
  EXPECT_FALSE(table->upsert({blob("2"), {{"name", "a"}}, std::nullopt}));
  EXPECT_FALSE(table->purge([](const Row&) { return true; }));
  EXPECT_EQ(cache->load("a"), blob("1"));
  EXPECT_THAT(table->load(Query::exact(metaEquals({{"name", "a"}}))), ElementsAre(blob("row")));

  other.run("COMMIT");
  EXPECT_TRUE(cache->save(blob("2"), "a"));
  EXPECT_EQ(cache->load("a"), blob("2"));
}

TEST_F(SQLiteCacheTest, ATableThatCannotBeRecordedYetIsRecordedWithItsFirstRow) {
  const auto cache = open();
  RawDatabase other(path);
  other.run("BEGIN IMMEDIATE");
  const auto table = cache->createTable(rowsTable());
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(cache->openTable("Rows"), nullptr);
  other.run("COMMIT");

  EXPECT_TRUE(table->upsert({blob("row"), {{"name", "a"}}, std::nullopt}));

  ASSERT_NE(cache->openTable("Rows"), nullptr);
  EXPECT_THAT(cache->openTable("Rows")->load(Query::oldest({})), ElementsAre(blob("row")));
}

TEST_F(SQLiteCacheTest, WhatIsRemovedOrReplacedLeavesNoTraceInTheFile) {
  {
    const auto cache = open();
    const auto table = cache->createTable(rowsTable());
    cache->save(blob("secret of the blob"), "a");
    cache->save(blob(std::string(20'000, 'x') + "secret of the large blob"), "b");
    table->upsert({blob("secret of the row"), {{"name", "secret of the meta"}}, std::nullopt});
    cache->save(blob("other"), "b");
    cache->remove("a");
    table->purge([](const Row&) { return true; });
  }
  EXPECT_EQ(fileBytes(path).find("secret"), std::string::npos);
}

TEST_F(SQLiteCacheTest, ReusesTheRoomOfWhatWasReplaced) {
  const auto cache = open();
  for (int round = 0; round < 50; ++round) cache->save(Data(std::string(100'000, 'x')), "a");
  EXPECT_LT(std::filesystem::file_size(path), 1'000'000U);
}

TEST_F(SQLiteCacheTest, ClosingADeletedFileLeavesTheLogOfItsSuccessor) {
  auto first = open();
  first->save(blob("1"), "a");
  std::filesystem::remove(path);
  std::filesystem::remove(path + "-wal");
  std::filesystem::remove(path + "-shm");
  const auto second = open();
  second->save(blob("2"), "a");

  first.reset();

  EXPECT_TRUE(std::filesystem::exists(path + "-wal"));
  EXPECT_EQ(open()->load("a"), blob("2"));
}

}  // namespace
}  // namespace vellora::hostkit::tests
