#include "hostkit/cache/sqlite/CachePath.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::hostkit::tests {
namespace {

using vellora::tests::OrdinaryUser;
using vellora::tests::TemporaryFolder;

/// Why the folders of `path` cannot be made; "" when they were.
std::string obstacleOf(const std::string& path) {
  const auto error = cachePath::createFolders(path);
  if (!error) return "";
  const auto* told = error->as<SQLiteCacheError>();
  if (told == nullptr) return "no SQLiteCacheError";
  EXPECT_EQ(told->reason, SQLiteCacheError::Reason::unwritable);
  EXPECT_EQ(told->path, path);
  return told->detail;
}

TEST(CachePathTest, MakesMissingFoldersForTheirOwnerAlone) {
  const TemporaryFolder folder;
  chmod(folder.path().c_str(), 0755);
  EXPECT_EQ(obstacleOf(folder.file("a/b/cache.db")), "");
  EXPECT_EQ(modeOf(folder.file("a")), 0700U);
  EXPECT_EQ(modeOf(folder.file("a/b")), 0700U);
  EXPECT_EQ(modeOf(folder.path()), 0755U);
}

TEST(CachePathTest, NamesTheFolderThatMayNotBeEntered) {
  const TemporaryFolder folder;
  std::filesystem::create_directories(folder.file("locked/sub"));
  const OrdinaryUser user(folder.path());
  chmod(folder.file("locked").c_str(), 0000);
  EXPECT_EQ(obstacleOf(folder.file("locked/sub/deep/cache.db")),
            "the folder \"" + folder.file("locked") + "\": Permission denied");
  chmod(folder.file("locked").c_str(), 0700);
}

TEST(CachePathTest, NamesTheFolderWhoseNameIsTooLong) {
  const TemporaryFolder folder;
  const std::string tooLong = folder.file(std::string(300, 'n'));
  EXPECT_EQ(obstacleOf(tooLong + "/sub/cache.db"), "the folder \"" + tooLong + "\": File name too long");
}

TEST(CachePathTest, NamesTheFolderThatIsALinkWhichLeadsNowhereOrRound) {
  const TemporaryFolder folder;
  const std::string nowhere = folder.file("nowhere");
  std::filesystem::create_symlink("absent", nowhere);
  EXPECT_EQ(obstacleOf(nowhere + "/cache.db"),
            "the folder \"" + nowhere + "\": it is a link that leads nowhere");
  const std::string round = folder.file("round");
  std::filesystem::create_symlink("round", round);
  EXPECT_EQ(obstacleOf(round + "/cache.db"),
            "the folder \"" + round + "\": Too many levels of symbolic links");
}

TEST(CachePathTest, ARelativePathNeedsAWorkingFolder) {
  const TemporaryFolder folder;
  const auto before = std::filesystem::current_path();
  std::filesystem::create_directory(folder.file("gone"));
  std::filesystem::current_path(folder.file("gone"));
  std::filesystem::remove(folder.file("gone"));
  const auto relative = cachePath::resolved("cache.db");
  const auto absolute = cachePath::resolved(folder.file("cache.db"));
  std::filesystem::current_path(before);

  ASSERT_FALSE(relative);
  EXPECT_EQ(*relative.error().as<SQLiteCacheError>(),
            (SQLiteCacheError{SQLiteCacheError::Reason::unwritable, "cache.db",
                              "the working folder: No such file or directory"}));
  ASSERT_TRUE(absolute);
  EXPECT_EQ(absolute.value(), folder.file("cache.db"));
}

TEST(CachePathTest, NeitherNothingNorATextWithANulIsAPath) {
  for (const std::string& path : {std::string(), std::string("a\0b", 3)}) {
    const auto error = cachePath::resolved(path).error();
    ASSERT_NE(error.as<SQLiteCacheError>(), nullptr);
    EXPECT_EQ(error.as<SQLiteCacheError>()->detail, "Invalid argument");
  }
}

TEST(CachePathTest, FollowsLinksAndLeavesWhatIsNotThere) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.file("real"));
  std::filesystem::create_directory_symlink("real", folder.file("link"));
  EXPECT_EQ(cachePath::resolved(folder.file("link/sub/cache.db")).value(), folder.file("real/sub/cache.db"));
  EXPECT_FALSE(cachePath::resolved(""));
  EXPECT_FALSE(cachePath::resolved(std::string("a\0b", 3)));
}

TEST(CachePathTest, TellsWhatBelongsToAnotherUser) {
  const TemporaryFolder folder;
  const OrdinaryUser user(folder.path());
  writeFile(folder.file("own"), "");
  EXPECT_FALSE(cachePath::isOfAnotherUser(folder.file("own")));
  EXPECT_FALSE(cachePath::isOfAnotherUser(folder.file("absent")));
  EXPECT_TRUE(cachePath::isOfAnotherUser("/etc/passwd"));
}

TEST(CachePathTest, WhatBelongsToAnotherUserIsNotASuperusersOwn) {
  if (geteuid() != 0) GTEST_SKIP() << "only a superuser can give files away";
  const TemporaryFolder folder;
  const std::string others = folder.file("others");
  writeFile(others, "");
  EXPECT_FALSE(cachePath::isOfAnotherUser(others));
  ASSERT_EQ(chown(others.c_str(), 4711, static_cast<gid_t>(-1)), 0);
  EXPECT_TRUE(cachePath::isOfAnotherUser(others));
}

}  // namespace
}  // namespace vellora::hostkit::tests
