#include "hostkit/cache/sqlite/FreshCacheFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <string>

#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "tests/hostkit/cache/sqlite/CacheFileFixture.h"
#include "tests/hostkit/cache/sqlite/FaultyFiles.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/WithoutStandardInput.h"

namespace vellora::hostkit::tests {
namespace {

using testing::ElementsAre;

using FreshCacheFileTest = CacheFileFixture;

TEST_F(FreshCacheFileTest, MakesAFreshFileWithoutTouchingCachesOrFilesOfSimilarNames) {
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

TEST_F(FreshCacheFileTest, ClearsAwayWhatAKilledProcessLeftInTheMaking) {
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

TEST_F(FreshCacheFileTest, ClearsAwayAFirstPageThatALossOfPowerHasTorn) {
  const std::string unfinished = folder.file(".vellora-making");
  makeCache();
  const std::string page = fileBytes(path).substr(0, 4096);
  for (const std::size_t written : {1U, 15U, 16U, 71U, 72U, 100U}) {
    std::filesystem::remove(path);
    writeFile(unfinished, page.substr(0, written) + std::string(page.size() - written, '\0'));
    makeCache();
    EXPECT_THAT(fileNames(folder.path()), ElementsAre("cache.db")) << written;
  }
}

TEST_F(FreshCacheFileTest, ClearsAwayALogWithoutBytesThatALossOfPowerHasLeftAlone) {
  writeFile(folder.file(".vellora-making-wal"), "");
  makeCache();
  EXPECT_THAT(fileNames(folder.path()), ElementsAre("cache.db"));
}

TEST_F(FreshCacheFileTest, LeavesAForeignPageInTheWayOfAFreshOne) {
  const std::string foreign = folder.file(".vellora-making");
  RawDatabase(folder.file("theirs.db")).run("PRAGMA user_version = 1");
  const std::string theirs = fileBytes(folder.file("theirs.db"));
  ASSERT_EQ(theirs.size(), 4096U);
  for (const std::string& bytes :
       {theirs, theirs.substr(0, 16) + std::string(55, '\0') + "X" + std::string(4024, '\0'),
        "SQLite" + std::string(100, '\0'), "XX" + std::string(4094, '\0')}) {
    writeFile(foreign, bytes);
    EXPECT_EQ(refusal(path).detail, "\"" + foreign + "\" is in the way, move it away");
    EXPECT_TRUE(fileBytes(foreign) == bytes);
  }
}

TEST_F(FreshCacheFileTest, LeavesAForeignFileInTheWayOfAFreshOne) {
  const std::string foreign = folder.file(".vellora-making");
  for (const char* const companion : {"", "-wal", "-shm", "-journal"}) {
    writeFile(foreign + companion, "mine");
    EXPECT_EQ(refusal(path), (SQLiteCacheError{Reason::unwritable, path,
                                               "\"" + foreign + "\" is in the way, move it away"}));
    EXPECT_EQ(fileBytes(foreign + companion), "mine");
    std::filesystem::remove(foreign + companion);
  }
}

TEST_F(FreshCacheFileTest, LeavesAForeignFileThatBeginsWithZerosInTheWayOfAFreshOne) {
  const std::string foreign = folder.file(".vellora-making");
  const std::string bytes = std::string(100000, '\0') + "mine";
  writeFile(foreign, bytes);
  EXPECT_EQ(refusal(path).detail, "\"" + foreign + "\" is in the way, move it away");
  EXPECT_TRUE(fileBytes(foreign) == bytes);
}

TEST_F(FreshCacheFileTest, LeavesALinkThatLeadsNowhereInTheWayOfAFreshOne) {
  const std::string foreign = folder.file(".vellora-making");
  std::filesystem::create_symlink("absent", foreign);
  EXPECT_EQ(refusal(path).detail, "\"" + foreign + "\" is in the way, move it away");
  EXPECT_TRUE(std::filesystem::is_symlink(foreign));
}

TEST_F(FreshCacheFileTest, LeavesANewerVersionsFileInTheWayOfAFreshOne) {
  const std::string newer = folder.file(".vellora-making");
  makeCache();
  RawDatabase(path).run("PRAGMA user_version = 2");
  std::filesystem::rename(path, newer);
  const std::string bytes = fileBytes(newer);
  EXPECT_EQ(refusal(path).detail, "\"" + newer + "\" is in the way, move it away");
  EXPECT_TRUE(fileBytes(newer) == bytes);
}

TEST_F(FreshCacheFileTest, TellsWhenWhatAnotherUserMadeIsInTheWay) {
  if (geteuid() != 0) GTEST_SKIP() << "only a superuser can give files away";
  const std::string others = folder.file(".vellora-making");
  const vellora::tests::OrdinaryUser user(folder.path());
  writeFile(others, "");
  chmod(others.c_str(), 0666);
  ASSERT_EQ(seteuid(0), 0);
  ASSERT_EQ(chown(others.c_str(), 4711, static_cast<gid_t>(-1)), 0);
  ASSERT_EQ(seteuid(65534), 0);
  EXPECT_EQ(refusal(path),
            (SQLiteCacheError{Reason::unwritable, path,
                              "\"" + others + "\" is in the way and belongs to another user"}));
}

TEST_F(FreshCacheFileTest, MakesAFreshFileOfTheLongestNameThatLeavesRoomForItsLog) {
  const std::string longest = folder.file(std::string(251, 'n'));
  EXPECT_TRUE(tryToOpen(longest).value()->save(Data(std::string("1")), "a"));
  EXPECT_EQ(tryToOpen(longest).value()->load("a"), Data(std::string("1")));
}

TEST_F(FreshCacheFileTest, TakesAnEmptyFileForAFreshOnesPlace) {
  writeFile(path, "");
  chmod(path.c_str(), 0644);
  makeCache();
  EXPECT_EQ(modeOf(path), 0600U);
  EXPECT_EQ(open()->load("a"), Data(std::string("1")));
  EXPECT_THAT(fileNames(folder.path()), ElementsAre("cache.db"));
}

TEST_F(FreshCacheFileTest, ReplacesNothingButAFileWithoutBytes) {
  writeFile(path, "mine");
  const auto error = createFreshCacheFile(path, std::chrono::milliseconds(1));
  ASSERT_TRUE(error);
  EXPECT_EQ(*error->as<SQLiteCacheError>(), (SQLiteCacheError{Reason::unwritable, path, "File exists"}));
  EXPECT_EQ(fileBytes(path), "mine");
  EXPECT_THAT(fileNames(folder.path()), ElementsAre("cache.db"));
}

TEST_F(FreshCacheFileTest, TellsWhenItCannotBeOpened) {
  FaultyFiles files;
  files.failAt(1, FaultyFiles::Fault::error, FaultyFiles::Lasting::once);
  const auto error = createFreshCacheFile(path, std::chrono::milliseconds(1));
  ASSERT_TRUE(error);
  EXPECT_EQ(*error->as<SQLiteCacheError>(),
            (SQLiteCacheError{Reason::unwritable, path, "unable to open database file"}));
  EXPECT_THAT(fileNames(folder.path()), testing::IsEmpty());
}

TEST_F(FreshCacheFileTest, NeedsNeitherAJournalNorAnIndexOfItsLogInTheMaking) {
  const std::string made = folder.file(".vellora-making");
  writeFile(made, "");
  for (const char* const suffix : {"-journal", "-shm"}) std::filesystem::create_directory(made + suffix);
  EXPECT_FALSE(createFreshCacheFile(path, std::chrono::milliseconds(1)));
}

TEST_F(FreshCacheFileTest, IsMadeAlsoUnderTheNumberOfStandardInput) {
  const vellora::tests::WithoutStandardInput closed;
  EXPECT_FALSE(createFreshCacheFile(path, std::chrono::milliseconds(1)));
  EXPECT_THAT(fileNames(folder.path()), ElementsAre("cache.db"));
}

TEST_F(FreshCacheFileTest, LeavesNoFileOpen) {
  const int before = nextDescriptor();
  EXPECT_FALSE(createFreshCacheFile(path, std::chrono::milliseconds(1)));
  EXPECT_EQ(nextDescriptor(), before);
}

TEST_F(FreshCacheFileTest, IsForItsOwnerAlone) {
  EXPECT_FALSE(createFreshCacheFile(path, std::chrono::milliseconds(1)));
  EXPECT_EQ(modeOf(path), 0600U);
  EXPECT_THAT(fileNames(folder.path()), ElementsAre("cache.db"));
}

}  // namespace
}  // namespace vellora::hostkit::tests
