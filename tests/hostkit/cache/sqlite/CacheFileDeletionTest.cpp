#include "hostkit/cache/sqlite/CacheFileDeletion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "tests/hostkit/cache/sqlite/CacheFileFixture.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/OrdinaryUser.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Host/Table.h"

namespace vellora::hostkit::tests {
namespace {

using CorvaneSDK::Table;
using testing::ElementsAre;
using testing::IsEmpty;

/// A cache that holds a text which nothing else does.
class CacheFileDeletionTest : public CacheFileFixture {
 protected:
  void fill(SQLiteCache& cache) const {
    ASSERT_TRUE(cache.save(Data(told), "a"));
    const auto table = cache.createTable(Table::emptyWithKey("t", Table::MaxAge::sevenDays));
    ASSERT_TRUE(table->upsert({Data(told), {{"name", "Account"}}, std::nullopt}));
  }

  /// The names of the files in the folder that hold the text.
  [[nodiscard]] std::vector<std::string> traces() const {
    std::vector<std::string> found;
    for (const auto& name : fileNames(folder.path())) {
      if (fileBytes(folder.file(name)).find(told) != std::string::npos) found.push_back(name);
    }
    return found;
  }

  /// Why it was not deleted; no value when it was.
  [[nodiscard]] std::optional<Reason> deletion() const {
    const auto error = SQLiteCache::destroy(path);
    if (!error) return std::nullopt;
    const auto* known = error->as<SQLiteCacheError>();
    return known != nullptr ? known->reason : Reason::failed;
  }

  const std::string told = "what the server told one user";
};

TEST_F(CacheFileDeletionTest, LeavesNoByteOfTheCacheInTheFolder) {
  fill(*open());
  ASSERT_THAT(traces(), ElementsAre("cache.db"));
  EXPECT_EQ(deletion(), std::nullopt);
  EXPECT_THAT(fileNames(folder.path()), IsEmpty());
}

TEST_F(CacheFileDeletionTest, RefusesACacheInUseAndLeavesItWhole) {
  auto cache = open();
  fill(*cache);
  ASSERT_THAT(traces(), testing::Contains("cache.db-wal"));
  EXPECT_EQ(deletion(), Reason::locked);
  EXPECT_EQ(cache->load("a"), Data(told));
  ASSERT_TRUE(cache->save(Data("more"), "b"));

  auto table = cache->openTable("t");
  cache.reset();
  EXPECT_EQ(deletion(), Reason::locked) << "a table keeps it open";
  table.reset();
  EXPECT_EQ(deletion(), std::nullopt);
  EXPECT_THAT(fileNames(folder.path()), IsEmpty());
}

TEST_F(CacheFileDeletionTest, RefusesACacheThatIsOnlyOpenElsewhereAndReadsNothing) {
  fill(*open());
  const auto idle = open();
  EXPECT_EQ(deletion(), Reason::locked);
  EXPECT_THAT(traces(), testing::Contains("cache.db"));
}

TEST_F(CacheFileDeletionTest, DeletesTheLogThatACrashLeftAndThatOfACacheWithoutItsFile) {
  makeCache();
  const std::string crashed = crashedCopyAfter("INSERT INTO vellora_table VALUES('" + told + "', 1, 2)");
  ASSERT_THAT(traces(), testing::Contains("crashed.db-wal"));
  EXPECT_FALSE(SQLiteCache::destroy(crashed));
  EXPECT_THAT(fileNames(folder.path()), ElementsAre("cache.db"));

  const std::string other = crashedCopyAfter("DELETE FROM vellora_table");
  std::filesystem::remove(other);
  EXPECT_FALSE(SQLiteCache::destroy(other));
  EXPECT_THAT(fileNames(folder.path()), ElementsAre("cache.db"));
}

TEST_F(CacheFileDeletionTest, DeletesWhatWasSetAsideAndNothingElse) {
  fill(*open());
  for (const char* const name : {"cache.db.damaged-1", "cache.db.damaged-12", "cache.db.damaged-12-wal"}) {
    writeFile(folder.file(name), told);
  }
  for (const char* const name :
       {"cache.db.damaged-", "cache.db.damaged-1.txt", "cache.db2", "other.damaged-1"}) {
    writeFile(folder.file(name), "mine");
  }
  EXPECT_EQ(deletion(), std::nullopt);
  EXPECT_THAT(fileNames(folder.path()),
              ElementsAre("cache.db.damaged-", "cache.db.damaged-1.txt", "cache.db2", "other.damaged-1"));
}

TEST_F(CacheFileDeletionTest, DeletesADamagedCache) {
  fill(*open());
  patch(0, "XXXX");
  EXPECT_EQ(deletion(), std::nullopt);
  fill(*open());
  patch(4096, std::string(4096, 'x'));
  EXPECT_EQ(deletion(), std::nullopt);
  EXPECT_THAT(fileNames(folder.path()), IsEmpty());
}

TEST_F(CacheFileDeletionTest, DeletesADamagedCacheThatIsOpen) {
  const auto cache = open();
  fill(*cache);
  patch(0, "XXXX");
  EXPECT_EQ(deletion(), std::nullopt);
  EXPECT_THAT(fileNames(folder.path()), IsEmpty());
}

TEST_F(CacheFileDeletionTest, WhoOpenedTheFileJustBeforeAndReadNothingCanWriteNothing) {
  fill(*open());
  sqlite3* late = nullptr;
  ASSERT_EQ(sqlite3_open(path.c_str(), &late), SQLITE_OK);
  EXPECT_EQ(deletion(), std::nullopt);
  EXPECT_EQ(sqlite3_exec(late, "INSERT INTO vellora_table VALUES('b', 1, 2)", nullptr, nullptr, nullptr),
            SQLITE_READONLY);
  sqlite3_close(late);
  EXPECT_THAT(fileNames(folder.path()), IsEmpty());
}

TEST_F(CacheFileDeletionTest, ACacheWhoseDeletionFailedHasALogAgain) {
  fill(*open());
  const std::string inTheWay = folder.file("cache.db.damaged-1");  // which no file's deletion removes
  std::filesystem::create_directory(inTheWay);
  ASSERT_EQ(deletion(), Reason::unwritable);
  const auto cache = open();
  EXPECT_EQ(cache->load("a"), Data(told));
  EXPECT_TRUE(cache->save(Data("more"), "b"));
  EXPECT_THAT(fileNames(folder.path()), testing::Contains("cache.db-wal"));
}

TEST_F(CacheFileDeletionTest, DeletesTheCacheBehindALink) {
  fill(*open());
  const std::string link = folder.file("link.db");
  std::filesystem::create_symlink("cache.db", link);
  EXPECT_FALSE(SQLiteCache::destroy(link));
  EXPECT_THAT(fileNames(folder.path()), ElementsAre("link.db"));
}

TEST_F(CacheFileDeletionTest, WhatIsNotThereNeedsNoDeletion) {
  EXPECT_EQ(deletion(), std::nullopt);
  EXPECT_FALSE(SQLiteCache::destroy(folder.file("absent/cache.db")));
}

TEST_F(CacheFileDeletionTest, WhatIsThereIsDeletedWhateverWasNotThereBefore) {
  makeCache();
  errno = ENOENT;
  EXPECT_FALSE(deleteCacheFile(path, std::chrono::milliseconds(1)));
  EXPECT_THAT(fileNames(folder.path()), IsEmpty());
}

TEST_F(CacheFileDeletionTest, TellsAPathThatCannotBe) {
  const auto error = SQLiteCache::destroy("");
  ASSERT_TRUE(error);
  EXPECT_EQ(*error->as<SQLiteCacheError>(), (SQLiteCacheError{Reason::unwritable, "", "Invalid argument"}));
}

TEST_F(CacheFileDeletionTest, TellsAFolderThatMayNotBeEntered) {
  const std::string locked = folder.file("locked");
  std::filesystem::create_directories(locked + "/sub");
  const vellora::tests::OrdinaryUser user(folder.path());
  chmod(locked.c_str(), 0000);
  const auto error = SQLiteCache::destroy(locked + "/sub/cache.db");
  chmod(locked.c_str(), 0700);
  ASSERT_TRUE(error);
  EXPECT_EQ(*error->as<SQLiteCacheError>(),
            (SQLiteCacheError{Reason::unwritable, locked + "/sub/cache.db",
                              "the folder \"" + locked + "/sub\": Permission denied"}));
}

TEST_F(CacheFileDeletionTest, RefusesWhatIsNoCache) {
  writeFile(path, "Dear diary");
  EXPECT_EQ(deletion(), Reason::foreignFile);
  EXPECT_EQ(fileBytes(path), "Dear diary");
}

TEST_F(CacheFileDeletionTest, TellsAFolderThatMayNotBeWrittenTo) {
  fill(*open());
  const vellora::tests::OrdinaryUser user(folder.path());
  chmod(folder.path().c_str(), 0500);
  EXPECT_EQ(deletion(), Reason::unwritable);
  chmod(folder.path().c_str(), 0700);
  EXPECT_EQ(deletion(), std::nullopt);
}

}  // namespace
}  // namespace vellora::hostkit::tests
