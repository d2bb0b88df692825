#include "hostkit/cache/sqlite/SQLiteCacheFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <string>
#include <utility>

#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "tests/hostkit/cache/sqlite/CacheFileFixture.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/OrdinaryUser.h"

namespace vellora::hostkit::tests {
namespace {

using vellora::tests::OrdinaryUser;

class SQLiteCacheFileTest : public CacheFileFixture {
 protected:
  /// Whether the file's header says that changes are written to a log.
  [[nodiscard]] bool hasLog() const {
    constexpr std::size_t versionForWriting = 18;
    return fileBytes(path).at(versionForWriting) == 2;
  }
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
  EXPECT_EQ(error.detail, "the folder \"" + folder.file("file") + "\": Not a directory");
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
  EXPECT_EQ(refusal(folder.file("sub/cache.db")).detail,
            "the folder \"" + folder.path().string() + "\": Permission denied");
  chmod(folder.path().c_str(), 0700);
  makeCache();
  chmod(folder.path().c_str(), 0500);

  EXPECT_EQ(refusal(path).reason, Reason::unwritable);

  chmod(folder.path().c_str(), 0700);
  EXPECT_EQ(open()->load("a"), Data(std::string("1")));
}

TEST_F(SQLiteCacheFileTest, TellsAFolderThatMayNotBeEntered) {
  const OrdinaryUser user(folder.path());
  for (const mode_t mode : {0000U, 0600U}) {
    chmod(folder.path().c_str(), mode);
    const auto opened = tryToOpen(path);
    const auto below = tryToOpen(folder.file("sub/cache.db"));
    chmod(folder.path().c_str(), 0700);
    for (const auto& refused : {opened, below}) {
      ASSERT_FALSE(refused.hasValue());
      EXPECT_EQ(refused.error().as<SQLiteCacheError>()->reason, Reason::unwritable);
      EXPECT_EQ(refused.error().as<SQLiteCacheError>()->detail,
                "the folder \"" + folder.path().string() + "\": Permission denied");
    }
  }
}

TEST_F(SQLiteCacheFileTest, TellsAFolderThatMayNotBeRead) {
  const OrdinaryUser user(folder.path());
  chmod(folder.path().c_str(), 0300);
  const auto opened = tryToOpen(path);
  chmod(folder.path().c_str(), 0700);
  ASSERT_FALSE(opened.hasValue());
  EXPECT_EQ(*opened.error().as<SQLiteCacheError>(),
            (SQLiteCacheError{Reason::unwritable, path,
                              "the folder \"" + folder.path().string() + "\": Permission denied"}));
}

TEST_F(SQLiteCacheFileTest, TellsANameThatIsTooLong) {
  for (const std::string& name : {std::string(300, 'n'), std::string(300, 'n') + "/cache.db"}) {
    const auto opened = tryToOpen(folder.file(name));
    ASSERT_FALSE(opened.hasValue());
    EXPECT_EQ(opened.error().as<SQLiteCacheError>()->reason, Reason::unwritable);
    EXPECT_THAT(opened.error().as<SQLiteCacheError>()->detail, testing::EndsWith("File name too long"));
  }
}

TEST_F(SQLiteCacheFileTest, RefusesALinkThatLeadsNowhere) {
  std::filesystem::create_symlink("absent", path);
  EXPECT_EQ(refusal(path), (SQLiteCacheError{Reason::unwritable, path, "it is a link that leads nowhere"}));
  EXPECT_TRUE(std::filesystem::is_symlink(path));
}

TEST_F(SQLiteCacheFileTest, RefusesAFileOfAnotherUserUnseen) {
  const OrdinaryUser user(folder.path());
  const std::string others = "/etc/passwd";
  EXPECT_EQ(refusal(others), (SQLiteCacheError{Reason::unwritable, others, "it belongs to another user"}));
}

TEST_F(SQLiteCacheFileTest, RefusesAFileOfAnotherUserAlsoToASuperuser) {
  if (geteuid() != 0) GTEST_SKIP() << "only a superuser can give files away";
  makeCache();
  ASSERT_EQ(chown(path.c_str(), 4711, static_cast<gid_t>(-1)), 0);
  EXPECT_EQ(refusal(path), (SQLiteCacheError{Reason::unwritable, path, "it belongs to another user"}));
}

TEST_F(SQLiteCacheFileTest, RefusesALogOfAnotherUserAndLeavesItAlone) {
  if (geteuid() != 0) GTEST_SKIP() << "only a superuser can give files away";
  makeCache();
  const std::string log = path + "-wal";
  writeFile(log, "theirs");
  ASSERT_EQ(chown(log.c_str(), 4711, static_cast<gid_t>(-1)), 0);
  EXPECT_EQ(refusal(path), (SQLiteCacheError{Reason::unwritable, log, "it belongs to another user"}));
  EXPECT_EQ(fileBytes(log), "theirs");
}

TEST_F(SQLiteCacheFileTest, GivesAFileThatLostItsLogALogAgain) {
  makeCache();
  RawDatabase(path).run("PRAGMA journal_mode = DELETE");
  ASSERT_FALSE(hasLog());
  const auto cache = open();
  EXPECT_TRUE(hasLog());
  EXPECT_EQ(cache->load("a"), Data(std::string("1")));
  EXPECT_TRUE(cache->save(Data(std::string("2")), "a"));
  EXPECT_TRUE(std::filesystem::exists(path + "-wal"));
}

TEST_F(SQLiteCacheFileTest, WritesNothingToAFileThatHasItsLog) {
  makeCache();
  ASSERT_TRUE(hasLog());
  const std::string bytes = fileBytes(path);
  const auto cache = open();
  EXPECT_TRUE(fileBytes(path) == bytes);
  EXPECT_EQ(fileBytes(path + "-wal"), "");
}

TEST_F(SQLiteCacheFileTest, OpensAFileThatLostItsLogAsItIsWhileAnotherProcessWrites) {
  makeCache();
  RawDatabase other(path);
  other.run("PRAGMA journal_mode = DELETE; BEGIN IMMEDIATE");
  const auto cache = open();
  EXPECT_FALSE(hasLog());
  EXPECT_EQ(cache->load("a"), Data(std::string("1")));
  other.run("ROLLBACK");
  EXPECT_TRUE(cache->save(Data(std::string("2")), "a"));
  EXPECT_EQ(open()->load("a"), Data(std::string("2")));
}

TEST_F(SQLiteCacheFileTest, OpensAFileThatLostItsLogAsItIsInAFolderThatMayNotBeWrittenTo) {
  makeCache();
  RawDatabase(path).run("PRAGMA journal_mode = DELETE");
  const OrdinaryUser user(folder.path());
  chmod(folder.path().c_str(), 0500);
  const auto opened = tryToOpen(path);
  chmod(folder.path().c_str(), 0700);
  ASSERT_TRUE(opened.hasValue()) << opened.error().localizedDescription();
  EXPECT_EQ(opened.value()->load("a"), Data(std::string("1")));
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

TEST_F(SQLiteCacheFileTest, RefusesAFileThatBeginsWithZeros) {
  writeFile(path, std::string(100000, '\0') + "mine");
  EXPECT_EQ(refusal(path), (SQLiteCacheError{Reason::foreignFile, path, ""}));
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
