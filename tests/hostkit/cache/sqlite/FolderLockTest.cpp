#include "hostkit/cache/sqlite/FolderLock.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <optional>
#include <string>
#include <thread>

#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WithoutStandardInput.h"

namespace vellora::hostkit::tests {
namespace {

using vellora::tests::TemporaryFolder;

/// Whether somebody who comes now could lock the folder.
bool isFree(const std::string& folder) {
  const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const bool locked = flock(descriptor, LOCK_EX | LOCK_NB) == 0;
  close(descriptor);
  return locked;
}

TEST(FolderLockTest, ExcludesOthersForAsLongAsItLives) {
  const TemporaryFolder folder;
  {
    const FolderLock lock(folder.path());
    EXPECT_TRUE(lock.held());
    EXPECT_FALSE(isFree(folder.path()));
  }
  EXPECT_TRUE(isFree(folder.path()));
}

TEST(FolderLockTest, IsNotHeldOfWhatIsNoFolder) {
  const TemporaryFolder folder;
  const FolderLock lock(folder.file("missing"));
  EXPECT_FALSE(lock.held());
  const std::string path = folder.file("missing/cache.db");
  EXPECT_EQ(*lock.error(path).as<SQLiteCacheError>(),
            (SQLiteCacheError{SQLiteCacheError::Reason::unwritable, path,
                              "the folder \"" + folder.file("missing") + "\": No such file or directory"}));
}

TEST(FolderLockTest, IsHeldAlsoUnderTheNumberOfStandardInput) {
  const TemporaryFolder folder;
  {
    const vellora::tests::WithoutStandardInput closed;
    {
      const FolderLock lock(folder.path());
      EXPECT_TRUE(lock.held());
    }
    EXPECT_EQ(nextDescriptor(), STDIN_FILENO) << "it was left open";
  }
  EXPECT_TRUE(isFree(folder.path()));
}

TEST(FolderLockTest, IsGivenUpWhereSomebodyElseKeepsTheFolder) {
  const TemporaryFolder folder;
  const FolderLock first(folder.path());
  ASSERT_TRUE(first.held());
  const vellora::tests::WithoutStandardInput closed;  // so that it has the number 0
  errno = EIO;
  const FolderLock second(folder.path());
  EXPECT_FALSE(second.held());
  const std::string path = folder.file("cache.db");
  EXPECT_EQ(*second.error(path).as<SQLiteCacheError>(),
            (SQLiteCacheError{SQLiteCacheError::Reason::locked, path, "its folder is in use"}));
}

TEST(FolderLockTest, WaitsForWhoLetsGoOfTheFolderSoon) {
  const TemporaryFolder folder;
  std::optional<FolderLock> first(folder.path());
  ASSERT_TRUE(first->held());
  std::thread owner([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    first.reset();
  });
  const FolderLock second(folder.path());
  owner.join();
  EXPECT_TRUE(second.held());
}

}  // namespace
}  // namespace vellora::hostkit::tests
