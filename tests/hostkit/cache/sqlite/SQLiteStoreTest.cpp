#include "hostkit/cache/sqlite/SQLiteStore.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "hostkit/cache/sqlite/SQLiteCacheFile.h"
#include "tests/hostkit/cache/ManualClock.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::hostkit::tests {
namespace {

using vellora::tests::TemporaryFolder;

class SQLiteStoreTest : public testing::Test {
 protected:
  const std::chrono::milliseconds timeout{1};
  TemporaryFolder folder;
  const std::string path = folder.file("cache.db");
  ManualClock clock;
  SQLiteStore store{sqliteCacheFile::open(path, timeout).value(), path, timeout, clock.function()};
};

TEST_F(SQLiteStoreTest, RunsAnOperationOnce) {
  int runs = 0;
  EXPECT_TRUE(store.perform([&runs](SQLiteDatabase&) { ++runs; }));
  EXPECT_EQ(runs, 1);
}

TEST_F(SQLiteStoreTest, DoesNotRepeatAnOperationThatFailsOtherwise) {
  int runs = 0;
  EXPECT_FALSE(store.perform([&runs](SQLiteDatabase& database) {
    ++runs;
    database.run("SELECT * FROM nowhere");
  }));
  EXPECT_EQ(runs, 1);
  EXPECT_FALSE(std::filesystem::exists(path + ".damaged-1"));
  EXPECT_TRUE(store.perform([](SQLiteDatabase&) {}));
}

TEST_F(SQLiteStoreTest, RepeatsAnOperationThatMeetsDamageOnAFreshFile) {
  int runs = 0;
  EXPECT_TRUE(store.perform([&runs](SQLiteDatabase& database) {
    if (++runs == 1) database.noteDamage();
  }));
  EXPECT_EQ(runs, 2);
  EXPECT_TRUE(std::filesystem::exists(path + ".damaged-1"));
}

TEST_F(SQLiteStoreTest, SetsADamagedFileAsideAsItIsWithWhatStandsInItsLogOnly) {
  ASSERT_TRUE(store.perform([](SQLiteDatabase& database) {
    database.run("INSERT INTO vellora_table(name, max_age, checksum) VALUES('t', 1, 2)");
  }));
  const std::string file = fileBytes(path);
  const std::string log = fileBytes(path + "-wal");

  int runs = 0;
  EXPECT_TRUE(store.perform([&runs](SQLiteDatabase& database) {
    if (++runs == 1) database.noteDamage();
  }));

  EXPECT_TRUE(fileBytes(path + ".damaged-1") == file);
  EXPECT_NE(log, "");
  EXPECT_TRUE(fileBytes(path + ".damaged-1-wal") == log);
}

TEST_F(SQLiteStoreTest, SetsNoMoreThanTwoFilesAsideForOneOperation) {
  int runs = 0;
  EXPECT_FALSE(store.perform([&runs](SQLiteDatabase& database) {
    ++runs;
    database.noteDamage();
  }));
  EXPECT_EQ(runs, 2);
  EXPECT_FALSE(std::filesystem::exists(path + ".damaged-3"));
  EXPECT_TRUE(store.perform([](SQLiteDatabase&) {}));
}

TEST_F(SQLiteStoreTest, LeavesANewerVersionsFileThatTookThePlaceOfADamagedOne) {
  RawDatabase(path).run("PRAGMA user_version = 2");

  EXPECT_FALSE(store.perform([](SQLiteDatabase& database) { database.noteDamage(); }));

  EXPECT_FALSE(std::filesystem::exists(path + ".damaged-1"));
  EXPECT_FALSE(store.perform([](SQLiteDatabase&) {}));
  store.releaseMemory();  // of no connection
}

TEST_F(SQLiteStoreTest, TellsWhyTheSecondFileThatWasDamagedCannotBeReplaced) {
  std::optional<SQLiteCacheFailure> told;
  SQLiteStore telling(sqliteCacheFile::open(path, timeout).value(), path, timeout, clock.function(),
                      std::nullopt, [&told](const SQLiteCacheFailure& failure) { told = failure; });
  int runs = 0;
  EXPECT_FALSE(telling.perform([&](SQLiteDatabase& database) {
    database.noteDamage();
    if (++runs == 2) RawDatabase(path).run("PRAGMA user_version = 2");
  }));
  EXPECT_EQ(runs, 2);
  ASSERT_TRUE(told);
  EXPECT_EQ(told->error, (SQLiteCacheError{SQLiteCacheError::Reason::newerVersion, path, ""}));
}

TEST_F(SQLiteStoreTest, LetsGoOfWhatItsConnectionKeeps) {
  const LargeRows::Identity identity{1, 2, 3};
  store.perform(
      [&](SQLiteDatabase& database) { database.largeRows().keep(identity, std::make_shared<StoredRow>()); });
  store.releaseMemory();
  EXPECT_TRUE(store.perform(
      [&](SQLiteDatabase& database) { EXPECT_EQ(database.largeRows().find(identity), nullptr); }));
}

TEST_F(SQLiteStoreTest, AFreshFileInPlaceOfADamagedOneBelongsToTheSameOwner) {
  const std::string owned = folder.file("owned.db");
  SQLiteStore alices(sqliteCacheFile::open(owned, timeout).value(), owned, timeout, clock.function(),
                     "alice");
  ASSERT_FALSE(alices.claim());
  int runs = 0;
  ASSERT_TRUE(alices.perform([&runs](SQLiteDatabase& database) {
    if (++runs == 1) database.noteDamage();
  }));
  ASSERT_TRUE(std::filesystem::exists(owned + ".damaged-1"));

  SQLiteStore bobs(sqliteCacheFile::open(owned, timeout).value(), owned, timeout, clock.function(), "bob");
  const auto refused = bobs.claim();

  ASSERT_TRUE(refused);
  EXPECT_EQ(refused->as<SQLiteCacheError>()->reason, SQLiteCacheError::Reason::otherOwner);
}

TEST_F(SQLiteStoreTest, AFileOfAnotherOwnerThatTookThePlaceOfADamagedOneIsNotUsed) {
  const std::string owned = folder.file("owned.db");
  SQLiteStore alices(sqliteCacheFile::open(owned, timeout).value(), owned, timeout, clock.function(),
                     "alice");
  ASSERT_FALSE(alices.claim());
  std::filesystem::rename(owned, owned + ".away");
  SQLiteStore bobs(sqliteCacheFile::open(owned, timeout).value(), owned, timeout, clock.function(), "bob");
  ASSERT_FALSE(bobs.claim());

  int runs = 0;
  EXPECT_FALSE(alices.perform([&runs](SQLiteDatabase& database) {
    ++runs;
    database.noteDamage();
  }));
  EXPECT_EQ(runs, 1) << "on the file that was damaged";
  EXPECT_TRUE(bobs.perform([](SQLiteDatabase&) {}));
}

TEST_F(SQLiteStoreTest, AFileThatCannotBeClaimedInPlaceOfADamagedOneIsNotUsed) {
  SQLiteStore alices(sqliteCacheFile::open(path, timeout).value(), path, timeout, clock.function(), "alice");
  std::filesystem::rename(path, path + ".away");
  ASSERT_TRUE(sqliteCacheFile::open(path, timeout));
  RawDatabase other(path);
  other.run("BEGIN IMMEDIATE");

  int runs = 0;
  EXPECT_FALSE(alices.perform([&runs](SQLiteDatabase& database) {
    ++runs;
    database.noteDamage();
  }));
  EXPECT_EQ(runs, 1) << "on the file that was damaged";
}

TEST_F(SQLiteStoreTest, AFileOfAnotherOwnerStaysAsItIsWithItsLog) {
  const std::string owned = folder.file("owned.db");
  {
    SQLiteStore alices(sqliteCacheFile::open(path, timeout).value(), path, timeout, clock.function(),
                       "alice");
    ASSERT_FALSE(alices.claim());
    for (const char* const suffix : {"", "-wal"}) std::filesystem::copy_file(path + suffix, owned + suffix);
  }
  const std::string file = fileBytes(owned);
  const std::string log = fileBytes(owned + "-wal");
  ASSERT_NE(log, "");
  {
    SQLiteStore bobs(sqliteCacheFile::open(owned, timeout).value(), owned, timeout, clock.function(), "bob");
    EXPECT_TRUE(bobs.claim());
  }
  EXPECT_TRUE(fileBytes(owned) == file);
  EXPECT_TRUE(fileBytes(owned + "-wal") == log);
}

TEST_F(SQLiteStoreTest, TellsTheTimeOfItsClock) {
  EXPECT_EQ(store.date(), Date::since1970(1'700'000'000));
}

}  // namespace
}  // namespace vellora::hostkit::tests
