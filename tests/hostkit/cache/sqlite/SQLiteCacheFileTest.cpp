#include "hostkit/cache/sqlite/SQLiteCacheFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::hostkit::tests {
namespace {

using vellora::tests::OrdinaryUser;
using vellora::tests::TemporaryFolder;

using Reason = SQLiteCacheError::Reason;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class SQLiteCacheFileTest : public testing::Test {
 protected:
  /// A closed cache file that holds the blob "1" under "a".
  void makeCache() const { ASSERT_TRUE(open()->save(Data(std::string("1")), "a")); }

  [[nodiscard]] Result<std::shared_ptr<SQLiteCache>> tryToOpen(const std::string& where) const {
    SQLiteCache::Options options;
    options.busyTimeout = std::chrono::milliseconds(1);
    return SQLiteCache::open(where, options);
  }
  [[nodiscard]] std::shared_ptr<SQLiteCache> open() const { return tryToOpen(path).value(); }

  /// Why `where` is refused, and that the refusal changed nothing in the folder.
  [[nodiscard]] SQLiteCacheError refusal(const std::string& where) const {
    const auto names = fileNames(folder.path());
    const std::string bytes = std::filesystem::is_regular_file(where) ? fileBytes(where) : "";
    const auto opened = tryToOpen(where);
    EXPECT_FALSE(opened.hasValue());
    if (opened.hasValue()) return {};
    EXPECT_EQ(fileNames(folder.path()), names);
    if (std::filesystem::is_regular_file(where)) {
      EXPECT_TRUE(fileBytes(where) == bytes);
    }
    const auto* error = opened.error().as<SQLiteCacheError>();
    EXPECT_NE(error, nullptr);
    return error != nullptr ? *error : SQLiteCacheError();
  }

  /// The cache file and its log as a crash right after `sql` leaves them, under another name.
  [[nodiscard]] std::string crashedCopyAfter(const std::string& sql) const {
    const std::string copy = folder.file("crashed.db");
    RawDatabase writer(path);
    writer.run(sql);
    for (const char* const suffix : {"", "-wal"}) std::filesystem::copy_file(path + suffix, copy + suffix);
    return copy;
  }

  void patch(std::size_t offset, const std::string& bytes) const {
    std::string all = fileBytes(path);
    all.replace(offset, bytes.size(), bytes);
    writeFile(path, all);
  }

  TemporaryFolder folder;
  const std::string path = folder.file("cache.db");
};

TEST_F(SQLiteCacheFileTest, RefusesATextFile) {
  writeFile(path, "Dear diary,\n");
  EXPECT_EQ(refusal(path), (SQLiteCacheError{Reason::foreignFile, path, ""}));
}

TEST_F(SQLiteCacheFileTest, RefusesATextThatQuotesOurTables) {
  writeFile(path, "CREATE TABLE vellora_blob(generation INTEGER)\n");
  EXPECT_EQ(refusal(path).reason, Reason::foreignFile);
}

TEST_F(SQLiteCacheFileTest, RefusesAnotherProgramsDatabase) {
  RawDatabase(path).run(
      "PRAGMA application_id = 7; CREATE TABLE note(text); INSERT INTO note VALUES('keep')");
  EXPECT_EQ(refusal(path).reason, Reason::foreignFile);
}

TEST_F(SQLiteCacheFileTest, RefusesAnotherProgramsDatabaseThatHasALog) {
  const std::string original = folder.file("original.db");
  RawDatabase other(original);
  other.run("PRAGMA journal_mode = WAL; CREATE TABLE note(text); INSERT INTO note VALUES('keep')");
  std::filesystem::copy_file(original, path);
  std::filesystem::copy_file(original + "-wal", path + "-wal");
  const std::string log = fileBytes(path + "-wal");

  EXPECT_EQ(refusal(path).reason, Reason::foreignFile);

  EXPECT_TRUE(fileBytes(path + "-wal") == log);
}

TEST_F(SQLiteCacheFileTest, RefusesAFileThatEndsBeforeItsMarks) {
  makeCache();
  std::filesystem::resize_file(path, 68);
  EXPECT_EQ(refusal(path).reason, Reason::foreignFile);
}

TEST_F(SQLiteCacheFileTest, RefusesWhatIsNoFile) {
  std::filesystem::create_directory(path);
  EXPECT_EQ(refusal(path).reason, Reason::foreignFile);
  const std::string pipe = folder.file("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(refusal(pipe).reason, Reason::foreignFile);
}

TEST_F(SQLiteCacheFileTest, RefusesANewerVersion) {
  makeCache();
  RawDatabase(path).run("PRAGMA user_version = 2");
  EXPECT_EQ(refusal(path), (SQLiteCacheError{Reason::newerVersion, path, ""}));
}

TEST_F(SQLiteCacheFileTest, RefusesANewerVersionThatStandsInTheLogOnly) {
  makeCache();
  RawDatabase newer(path);
  newer.run("PRAGMA user_version = 2");

  EXPECT_EQ(refusal(path).reason, Reason::newerVersion);
}

TEST_F(SQLiteCacheFileTest, RefusingANewerVersionLeavesALogThatACrashLeft) {
  makeCache();
  const std::string crashed = crashedCopyAfter("PRAGMA user_version = 2");
  const std::string bytes = fileBytes(crashed);
  const std::string log = fileBytes(crashed + "-wal");

  const auto opened = tryToOpen(crashed);

  ASSERT_FALSE(opened.hasValue());
  EXPECT_EQ(opened.error().localizedDescription(),
            (SQLiteCacheError{Reason::newerVersion, crashed, ""}.localizedDescription()));
  EXPECT_TRUE(fileBytes(crashed) == bytes);
  EXPECT_TRUE(fileBytes(crashed + "-wal") == log);
}

TEST_F(SQLiteCacheFileTest, TellsAPathThatCannotBe) {
  writeFile(folder.file("file"), "");
  const SQLiteCacheError error = refusal(folder.file("file/cache.db"));
  EXPECT_EQ(error.reason, Reason::unwritable);
  EXPECT_EQ(error.detail, "Not a directory");
  EXPECT_EQ(refusal("/proc/no such folder/cache.db").reason, Reason::unwritable);
  EXPECT_EQ(refusal("").reason, Reason::unwritable);
  EXPECT_EQ(refusal(path + std::string("\0.db", 4)).reason, Reason::unwritable);
}

TEST_F(SQLiteCacheFileTest, TellsAFileThatMayNotBeWritten) {
  makeCache();
  chmod(path.c_str(), 0400);
  const OrdinaryUser user(folder.path());
  EXPECT_EQ(refusal(path).reason, Reason::unwritable);
}

TEST_F(SQLiteCacheFileTest, TellsAFileThatMayNotBeRead) {
  makeCache();
  chmod(path.c_str(), 0200);
  const OrdinaryUser user(folder.path());
  EXPECT_EQ(refusal(path).reason, Reason::unwritable);
}

TEST_F(SQLiteCacheFileTest, TellsAFolderThatMayNotBeWrittenTo) {
  const OrdinaryUser user(folder.path());
  chmod(folder.path().c_str(), 0500);
  EXPECT_EQ(refusal(path), (SQLiteCacheError{Reason::unwritable, path, "Permission denied"}));
  EXPECT_EQ(refusal(folder.file("sub/cache.db")).detail, "Permission denied");
  chmod(folder.path().c_str(), 0700);
  makeCache();
  chmod(folder.path().c_str(), 0500);

  EXPECT_EQ(refusal(path).reason, Reason::unwritable);

  chmod(folder.path().c_str(), 0700);
  EXPECT_EQ(open()->load("a"), Data(std::string("1")));
}

TEST_F(SQLiteCacheFileTest, LeavesADamagedFileWhereItMayNotBeSetAside) {
  makeCache();
  patch(0, "XXXX");
  const OrdinaryUser user(folder.path());
  chmod(folder.path().c_str(), 0500);
  EXPECT_EQ(refusal(path).reason, Reason::unwritable);
  chmod(folder.path().c_str(), 0700);
}

TEST_F(SQLiteCacheFileTest, TellsAFileThatAnotherProcessHolds) {
  makeCache();
  RawDatabase other(path);
  other.run("PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE; PRAGMA user_version = 1");
  const auto opened = tryToOpen(path);

  ASSERT_FALSE(opened.hasValue());
  ASSERT_NE(opened.error().as<SQLiteCacheError>(), nullptr);
  EXPECT_EQ(opened.error().as<SQLiteCacheError>()->reason, Reason::locked);
}

TEST_F(SQLiteCacheFileTest, TellsAProcessThatHaltsWhileItWritesTheLogsIndexAsOneThatHoldsTheFile) {
  const Error error = sqliteCacheFile::errorFor(path, SQLITE_PROTOCOL);
  ASSERT_NE(error.as<SQLiteCacheError>(), nullptr);
  EXPECT_EQ(error.as<SQLiteCacheError>()->reason, Reason::locked);
}

TEST_F(SQLiteCacheFileTest, MakesAFreshFileWithoutTouchingCachesOrFilesOfSimilarNames) {
  writeFile(folder.file("other.new"), "mine");
  writeFile(folder.file("other.new-wal"), "mine too");
  const auto similar = tryToOpen(path + ".new").value();
  similar->save(Data(std::string("1")), "a");

  makeCache();
  EXPECT_TRUE(tryToOpen(folder.file("other")).hasValue());

  EXPECT_EQ(similar->load("a"), Data(std::string("1")));
  EXPECT_EQ(tryToOpen(path + ".new").value()->load("a"), Data(std::string("1")));
  EXPECT_EQ(fileBytes(folder.file("other.new")), "mine");
  EXPECT_EQ(fileBytes(folder.file("other.new-wal")), "mine too");
}

TEST_F(SQLiteCacheFileTest, ClearsAwayWhatAKilledProcessLeftInTheMaking) {
  const std::string unfinished = folder.file(".vellora-making");
  makeCache();
  const std::string whole = fileBytes(path);
  const std::string zeros(whole.size(), '\0');  // as after a loss of power
  for (const std::string& left : {std::string(), zeros, "XXXX" + whole.substr(4), whole}) {
    std::filesystem::remove(path);
    writeFile(unfinished, left);
    writeFile(unfinished + "-journal", left);
    makeCache();
    EXPECT_THAT(fileNames(folder.path()), ElementsAre("cache.db"));
  }
}

TEST_F(SQLiteCacheFileTest, LeavesAForeignFileInTheWayOfAFreshOne) {
  const std::string foreign = folder.file(".vellora-making");
  for (const char* const companion : {"", "-wal", "-shm", "-journal"}) {
    writeFile(foreign + companion, "mine");
    EXPECT_EQ(refusal(path), (SQLiteCacheError{Reason::unwritable, path,
                                               "\"" + foreign + "\" is in the way, move it away"}));
    EXPECT_EQ(fileBytes(foreign + companion), "mine");
    std::filesystem::remove(foreign + companion);
  }
}

TEST_F(SQLiteCacheFileTest, LeavesAForeignFileThatBeginsWithZerosInTheWayOfAFreshOne) {
  const std::string foreign = folder.file(".vellora-making");
  const std::string bytes = std::string(100000, '\0') + "mine";
  writeFile(foreign, bytes);
  EXPECT_EQ(refusal(path).detail, "\"" + foreign + "\" is in the way, move it away");
  EXPECT_TRUE(fileBytes(foreign) == bytes);
}

TEST_F(SQLiteCacheFileTest, MakesAFreshFileOfTheLongestNameThatLeavesRoomForItsLog) {
  const std::string longest = folder.file(std::string(251, 'n'));
  EXPECT_TRUE(tryToOpen(longest).value()->save(Data(std::string("1")), "a"));
  EXPECT_EQ(tryToOpen(longest).value()->load("a"), Data(std::string("1")));
}

TEST_F(SQLiteCacheFileTest, TakesAnEmptyFileForAFreshOnesPlace) {
  writeFile(path, "");
  chmod(path.c_str(), 0644);
  makeCache();
  EXPECT_EQ(modeOf(path), 0600U);
  EXPECT_EQ(open()->load("a"), Data(std::string("1")));
}

TEST_F(SQLiteCacheFileTest, DoesNotPlayALogIntoAFreshFile) {
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

TEST_F(SQLiteCacheFileTest, SetsAFileWithoutItsMagicAside) {
  makeCache();
  patch(0, "XXXX");
  const std::string bytes = fileBytes(path);

  const auto cache = open();

  EXPECT_EQ(cache->load("a"), std::nullopt);
  EXPECT_TRUE(cache->save(Data(std::string("2")), "a"));
  EXPECT_EQ(cache->load("a"), Data(std::string("2")));
  EXPECT_TRUE(fileBytes(path + ".damaged-1") == bytes);
}

TEST_F(SQLiteCacheFileTest, SetsAFileOfNothingButZerosAside) {
  makeCache();
  const std::string zeros(fileBytes(path).size(), '\0');
  writeFile(path, zeros);

  makeCache();

  EXPECT_EQ(open()->load("a"), Data(std::string("1")));
  EXPECT_TRUE(fileBytes(path + ".damaged-1") == zeros);
}

TEST_F(SQLiteCacheFileTest, RefusesAFileThatBeginsWithZeros) {
  writeFile(path, std::string(100000, '\0') + "mine");
  EXPECT_EQ(refusal(path), (SQLiteCacheError{Reason::foreignFile, path, ""}));
}

TEST_F(SQLiteCacheFileTest, SetsAFileWithoutItsIdAside) {
  makeCache();
  RawDatabase(path).run("PRAGMA application_id = 0");
  EXPECT_EQ(open()->load("a"), std::nullopt);
  EXPECT_THAT(fileNames(folder.path()), testing::Contains("cache.db.damaged-1"));
}

TEST_F(SQLiteCacheFileTest, SetsAFileWithOtherTablesAside) {
  makeCache();
  RawDatabase(path).run("ALTER TABLE vellora_row ADD COLUMN extra");
  EXPECT_EQ(open()->load("a"), std::nullopt);
  EXPECT_TRUE(std::filesystem::exists(path + ".damaged-1"));
}

TEST_F(SQLiteCacheFileTest, SetsItsLogAsideWithIt) {
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

TEST_F(SQLiteCacheFileTest, SetsAFileAsideUnchangedWithTheLogThatTellsItsDamage) {
  makeCache();
  const std::string crashed = crashedCopyAfter("DROP TABLE vellora_row");
  const std::string bytes = fileBytes(crashed);
  const std::string log = fileBytes(crashed + "-wal");

  EXPECT_TRUE(tryToOpen(crashed).hasValue());

  EXPECT_TRUE(fileBytes(crashed + ".damaged-1") == bytes);
  EXPECT_TRUE(fileBytes(crashed + ".damaged-1-wal") == log);
}

TEST_F(SQLiteCacheFileTest, NumbersWhatItSetsAside) {
  for (int round = 1; round <= 3; ++round) {
    makeCache();
    patch(0, "round " + std::to_string(round));
  }
  makeCache();

  EXPECT_EQ(fileBytes(path + ".damaged-1").substr(0, 7), "round 1");
  EXPECT_EQ(fileBytes(path + ".damaged-2").substr(0, 7), "round 2");
  EXPECT_EQ(fileBytes(path + ".damaged-3").substr(0, 7), "round 3");
}

TEST_F(SQLiteCacheFileTest, SetsAsideTheFileBehindALink) {
  makeCache();
  patch(0, "XXXX");
  const std::string link = folder.file("link.db");
  std::filesystem::create_symlink("cache.db", link);

  EXPECT_TRUE(tryToOpen(link).hasValue());

  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_TRUE(std::filesystem::exists(path + ".damaged-1"));
}

TEST_F(SQLiteCacheFileTest, LeavesAFileThatIsNotDamagedWhenTheOneThatWasHasBeenReplaced) {
  makeCache();
  const auto timeout = std::chrono::milliseconds(1);
  auto damaged = sqliteCacheFile::open(path, timeout).value();
  std::filesystem::rename(path, folder.file("replaced by another process"));
  makeCache();

  const auto replaced = sqliteCacheFile::replace(std::move(damaged), path, timeout);

  ASSERT_TRUE(replaced.hasValue());
  EXPECT_FALSE(std::filesystem::exists(path + ".damaged-1"));
  EXPECT_EQ(open()->load("a"), Data(std::string("1")));
}

}  // namespace
}  // namespace vellora::hostkit::tests
