#include "hostkit/cache/sqlite/OwnCacheFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <string>

#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WithoutStandardInput.h"

namespace vellora::hostkit::tests {
namespace {

using testing::MatchesRegex;

/// While it lives, this process can write no bytes to a file.
class FullDisk {
 public:
  FullDisk() : previous_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &limit_);
    const rlimit none{0, limit_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &none);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &limit_);
    std::signal(SIGXFSZ, previous_);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  void (*const previous_)(int);
  rlimit limit_{};
};

class OwnCacheFileTest : public testing::Test {
 protected:
  [[nodiscard]] std::string fileOf(const std::string& owner) const {
    return ownCacheFile(caches, "records.example", owner).value();
  }

  const vellora::tests::TemporaryFolder folder;
  const std::string caches = folder.file("new/caches");
  const std::string key = caches + "/.vellora-key";
};

TEST_F(OwnCacheFileTest, IsTheSameAtEachCallAndAnotherOneForEachOwner) {
  EXPECT_THAT(fileOf("alice"), MatchesRegex(caches + "/records\\.example-[0-9a-f]{32}\\.sqlite"));
  EXPECT_EQ(fileOf("alice"), fileOf("alice"));
  EXPECT_NE(fileOf("alice"), fileOf("bob"));
}

TEST_F(OwnCacheFileTest, ItsNameIsMadeOfTheBeginningOfTheOwnersDigest) {
  std::filesystem::create_directories(caches);
  writeFile(key, std::string(32, 'k'));
  EXPECT_EQ(fileOf("alice"), caches + "/records.example-6664a42048c6d6d7fe3657e39b14155c.sqlite");
}

TEST_F(OwnCacheFileTest, TheKeyIsItsOwnersAlone) {
  const std::string file = fileOf("alice");
  EXPECT_EQ(modeOf(key), 0600U);
  EXPECT_EQ(fileBytes(key).size(), 32U);
  EXPECT_EQ(modeOf(caches), 0700U);
  EXPECT_THAT(fileNames(caches), testing::ElementsAre(".vellora-key"));
  std::filesystem::remove(key);
  EXPECT_NE(fileOf("alice"), file) << "under another key";
}

TEST_F(OwnCacheFileTest, LeavesNoFileOpen) {
  const int before = nextDescriptor();
  static_cast<void>(fileOf("alice"));
  static_cast<void>(fileOf("alice"));
  EXPECT_EQ(nextDescriptor(), before);
}

TEST_F(OwnCacheFileTest, IsFoundAlsoUnderTheNumberOfStandardInput) {
  const vellora::tests::WithoutStandardInput closed;
  errno = EIO;
  const std::string made = fileOf("alice");
  errno = EIO;
  EXPECT_EQ(fileOf("alice"), made);
  EXPECT_EQ(nextDescriptor(), STDIN_FILENO) << "it was left open";
}

TEST_F(OwnCacheFileTest, AKeyThatCannotBeWrittenIsNotKept) {
  std::filesystem::create_directories(caches);
  const auto refused = [&] {
    const FullDisk disk;
    return ownCacheFile(caches, "records.example", "alice");
  }();
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error().as<SQLiteCacheError>()->detail, "File too large");
  EXPECT_THAT(fileNames(caches), testing::IsEmpty());
}

TEST_F(OwnCacheFileTest, WhatIsNoKeyIsToldAndStays) {
  std::filesystem::create_directories(caches);
  for (const std::string& other : {std::string("short"), std::string(33, 'x')}) {
    writeFile(key, other);
    const auto refused = ownCacheFile(caches, "records.example", "alice");
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().as<SQLiteCacheError>()->path, key);
    EXPECT_EQ(fileBytes(key), other);
  }
  std::filesystem::remove(key);
  ASSERT_EQ(mkfifo(key.c_str(), 0600), 0);
  EXPECT_FALSE(ownCacheFile(caches, "records.example", "alice"));
  std::filesystem::remove(key);
  std::filesystem::create_symlink("/dev/zero", key);
  EXPECT_FALSE(ownCacheFile(caches, "records.example", "alice"));
}

TEST_F(OwnCacheFileTest, AKeyOfAnotherUserIsRefusedAlsoToASuperuser) {
  if (geteuid() != 0) GTEST_SKIP() << "only a superuser can give files away";
  ASSERT_NE(fileOf("alice"), "");
  ASSERT_EQ(chown(key.c_str(), 4711, static_cast<gid_t>(-1)), 0);
  const auto refused = ownCacheFile(caches, "records.example", "alice");
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error().as<SQLiteCacheError>()->detail, "it belongs to another user");
}

TEST_F(OwnCacheFileTest, AFolderThatMayHaveNoKeyIsTold) {
  std::filesystem::create_directories(caches);
  const vellora::tests::OrdinaryUser user(folder.path());
  chmod(caches.c_str(), 0500);
  const auto refused = ownCacheFile(caches, "records.example", "alice");
  chmod(caches.c_str(), 0700);
  ASSERT_FALSE(refused);
  EXPECT_EQ(*refused.error().as<SQLiteCacheError>(),
            (SQLiteCacheError{SQLiteCacheError::Reason::unwritable, key, "Permission denied"}));
}

TEST_F(OwnCacheFileTest, AFolderThatMayNotBeWrittenToIsNamed) {
  const vellora::tests::OrdinaryUser user(folder.path());
  chmod(folder.path().c_str(), 0500);
  const auto refused = ownCacheFile(caches, "records.example", "alice");
  chmod(folder.path().c_str(), 0700);
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error().as<SQLiteCacheError>()->detail,
            "the folder \"" + folder.path().string() + "\": Permission denied");
}

}  // namespace
}  // namespace vellora::hostkit::tests
