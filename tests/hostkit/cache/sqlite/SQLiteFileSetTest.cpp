#include "hostkit/cache/sqlite/SQLiteFileSet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>

#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "tests/hostkit/cache/sqlite/CacheFileFixture.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/OrdinaryUser.h"

namespace vellora::hostkit::tests {
namespace {

using vellora::tests::OrdinaryUser;

using testing::ElementsAre;

using SQLiteFileSetTest = CacheFileFixture;

TEST_F(SQLiteFileSetTest, LeavesADamagedFileWhereItMayNotBeSetAside) {
  makeCache();
  patch(0, "XXXX");
  const OrdinaryUser user(folder.path());
  chmod(folder.path().c_str(), 0500);
  EXPECT_EQ(refusal(path).reason, Reason::unwritable);
  chmod(folder.path().c_str(), 0700);
}

TEST_F(SQLiteFileSetTest, TellsWhyNothingMayBeSetAside) {
  const OrdinaryUser user(folder.path());
  for (const char* const suffix : {"", "-wal"}) {
    writeFile(path + suffix, "kept");
    chmod(folder.path().c_str(), 0500);
    EXPECT_EQ(sqliteFileSet::setAside(path), EACCES) << suffix;
    chmod(folder.path().c_str(), 0700);
    EXPECT_EQ(fileBytes(path + suffix), "kept");
    std::filesystem::remove(path + suffix);
  }
}

TEST_F(SQLiteFileSetTest, RemovesNothingWhereItCannotTellWhatWasSetAside) {
  writeFile(path, "kept");
  const OrdinaryUser user(folder.path());
  chmod(folder.path().c_str(), 0300);
  const int number = sqliteFileSet::removeAll(path);
  chmod(folder.path().c_str(), 0700);
  EXPECT_EQ(number, EACCES);
  EXPECT_EQ(fileBytes(path), "kept");
}

TEST_F(SQLiteFileSetTest, DoesNotPlayALogIntoAFreshFile) {
  {
    const auto cache = open();
    cache->save(Data(std::string("1")), "a");
    std::filesystem::copy_file(path + "-wal", folder.file("kept"));
  }
  std::filesystem::remove(path);
  std::filesystem::rename(folder.file("kept"), path + "-wal");
  const std::string log = fileBytes(path + "-wal");

  EXPECT_EQ(open()->load("a"), std::nullopt);

  EXPECT_TRUE(fileBytes(path + ".damaged-1-wal") == log);
  EXPECT_THAT(fileNames(folder.path()), ElementsAre("cache.db", "cache.db.damaged-1-wal"));
}

TEST_F(SQLiteFileSetTest, SetsAFileWithoutItsMagicAside) {
  makeCache();
  patch(0, "XXXX");
  const std::string bytes = fileBytes(path);

  const auto cache = open();

  EXPECT_EQ(cache->load("a"), std::nullopt);
  EXPECT_TRUE(cache->save(Data(std::string("2")), "a"));
  EXPECT_EQ(cache->load("a"), Data(std::string("2")));
  EXPECT_TRUE(fileBytes(path + ".damaged-1") == bytes);
}

TEST_F(SQLiteFileSetTest, SetsAFileOfNothingButZerosAside) {
  makeCache();
  const std::string zeros(fileBytes(path).size(), '\0');
  writeFile(path, zeros);

  makeCache();

  EXPECT_EQ(open()->load("a"), Data(std::string("1")));
  EXPECT_TRUE(fileBytes(path + ".damaged-1") == zeros);
}

TEST_F(SQLiteFileSetTest, SetsAFileWithoutItsIdAside) {
  makeCache();
  RawDatabase(path).run("PRAGMA application_id = 0");
  EXPECT_EQ(open()->load("a"), std::nullopt);
  EXPECT_THAT(fileNames(folder.path()), testing::Contains("cache.db.damaged-1"));
}

TEST_F(SQLiteFileSetTest, SetsAFileWithOtherTablesAside) {
  makeCache();
  RawDatabase(path).run("ALTER TABLE vellora_row ADD COLUMN extra");
  EXPECT_EQ(open()->load("a"), std::nullopt);
  EXPECT_TRUE(std::filesystem::exists(path + ".damaged-1"));
}

TEST_F(SQLiteFileSetTest, SetsItsLogAsideWithIt) {
  const std::string copy = folder.file("copy.db");
  std::string log;
  {
    const auto cache = open();
    cache->save(Data(std::string("1")), "a");
    std::filesystem::copy_file(path, copy);
    std::filesystem::copy_file(path + "-wal", copy + "-wal");
    log = fileBytes(copy + "-wal");
  }
  std::string damaged = fileBytes(copy);
  damaged[0] = 'X';
  writeFile(copy, damaged);

  EXPECT_TRUE(tryToOpen(copy).hasValue());

  EXPECT_TRUE(fileBytes(copy + ".damaged-1") == damaged);
  EXPECT_TRUE(fileBytes(copy + ".damaged-1-wal") == log);
}

TEST_F(SQLiteFileSetTest, SetsAFileAsideUnchangedWithTheLogThatTellsItsDamage) {
  makeCache();
  const std::string crashed = crashedCopyAfter("DROP TABLE vellora_row");
  const std::string bytes = fileBytes(crashed);
  const std::string log = fileBytes(crashed + "-wal");

  EXPECT_TRUE(tryToOpen(crashed).hasValue());

  EXPECT_TRUE(fileBytes(crashed + ".damaged-1") == bytes);
  EXPECT_TRUE(fileBytes(crashed + ".damaged-1-wal") == log);
}

TEST_F(SQLiteFileSetTest, NumbersWhatItSetsAside) {
  for (int round = 1; round <= 3; ++round) {
    makeCache();
    patch(0, "round " + std::to_string(round));
  }
  makeCache();

  EXPECT_EQ(fileBytes(path + ".damaged-1").substr(0, 7), "round 1");
  EXPECT_EQ(fileBytes(path + ".damaged-2").substr(0, 7), "round 2");
  EXPECT_EQ(fileBytes(path + ".damaged-3").substr(0, 7), "round 3");
}

TEST_F(SQLiteFileSetTest, SetsAsideTheFileBehindALink) {
  makeCache();
  patch(0, "XXXX");
  const std::string link = folder.file("link.db");
  std::filesystem::create_symlink("cache.db", link);

  EXPECT_TRUE(tryToOpen(link).hasValue());

  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_TRUE(std::filesystem::exists(path + ".damaged-1"));
}

TEST_F(SQLiteFileSetTest, KnowsWhatSQLiteKeepsBesideAFile) {
  for (const char* const suffix : {"-wal", "-shm", "-journal"}) {
    EXPECT_FALSE(sqliteFileSet::hasCompanions(path));
    writeFile(path + suffix, "");
    EXPECT_TRUE(sqliteFileSet::hasCompanions(path));
    sqliteFileSet::remove(path);
  }
  writeFile(path + "-other", "");
  EXPECT_FALSE(sqliteFileSet::hasCompanions(path));
}

TEST_F(SQLiteFileSetTest, RemovesAFileWithItsCompanionsAndNothingElse) {
  for (const char* const suffix : {"", "-wal", "-shm", "-journal", "-other"}) writeFile(path + suffix, "");
  sqliteFileSet::remove(path);
  EXPECT_THAT(fileNames(folder.path()), ElementsAre("cache.db-other"));
}

TEST_F(SQLiteFileSetTest, TakesNoNumberOfWhichAnythingIsThere) {
  writeFile(path, "new");
  writeFile(path + ".damaged-1", "first");
  writeFile(path + ".damaged-2-wal", "left of the second");
  EXPECT_EQ(sqliteFileSet::setAside(path), 0);
  EXPECT_EQ(fileBytes(path + ".damaged-3"), "new");
  EXPECT_EQ(fileBytes(path + ".damaged-1"), "first");
  EXPECT_EQ(fileBytes(path + ".damaged-2-wal"), "left of the second");
}

}  // namespace
}  // namespace vellora::hostkit::tests
