#include "tests/power/DiskRecorder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <set>
#include <string>

#include "tests/support/TemporaryFolder.h"

namespace vellora::tests {
namespace {

using testing::ElementsAre;
using testing::Pair;

class DiskRecorderTest : public testing::Test {
 protected:
  /// What is on the disk when nothing can be lost any more.
  [[nodiscard]] DiskImage whole(const DiskRecorder& recorder) const {
    const int descriptor = open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    fsync(descriptor);
    close(descriptor);
    std::mt19937 random(1);
    return recorder.journal().afterLoss(recorder.journal().length(), random);
  }

  TemporaryFolder folder;
};

TEST_F(DiskRecorderTest, TakesDownWhatTheProgramDoes) {
  const DiskRecorder recorder(folder.path());
  const std::string path = folder.file("a");
  const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  ASSERT_EQ(write(descriptor, "one", 3), 3);
  ASSERT_EQ(write(descriptor, "two", 3), 3);
  ASSERT_EQ(pwrite(descriptor, "T", 1, 3), 1);
  ASSERT_EQ(ftruncate(descriptor, 5), 0);
  ASSERT_EQ(fsync(descriptor), 0);
  close(descriptor);
  ASSERT_EQ(link(path.c_str(), folder.file("b").c_str()), 0);
  ASSERT_EQ(std::rename(path.c_str(), folder.file("c").c_str()), 0);
  ASSERT_EQ(unlink(folder.file("b").c_str()), 0);

  DiskImage image = whole(recorder);
  ASSERT_THAT(image.names, ElementsAre(Pair("c", testing::_)));
  EXPECT_EQ(image.files[image.names["c"]], "oneTw");
}

TEST_F(DiskRecorderTest, TakesDownWhatSQLiteDoes) {
  const DiskRecorder recorder(folder.path());
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(folder.file("a.db").c_str(), &database), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(database, "CREATE TABLE t(c); INSERT INTO t VALUES(1)", nullptr, nullptr, nullptr),
            SQLITE_OK);
  ASSERT_EQ(sqlite3_close(database), SQLITE_OK);
  const DiskImage image = whole(recorder);
  const DiskImage onDisk = DiskImage::read(folder.path());
  ASSERT_THAT(image.names, ElementsAre(Pair("a.db", testing::_)));
  EXPECT_EQ(image.files.at(image.names.at("a.db")), onDisk.files.at(1));
}

TEST_F(DiskRecorderTest, TakesDownTheCallsForLargeFiles) {
  const DiskRecorder recorder(folder.path());
  const int opened = open64(folder.file("opened").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  std::string path = folder.file("madeXXXXXX");
  const int made = mkostemp64(path.data(), O_CLOEXEC);
  for (const int descriptor : {opened, made}) {
    ASSERT_EQ(pwrite64(descriptor, "three", 5, 1), 5);
    ASSERT_EQ(ftruncate64(descriptor, 3), 0);
    ASSERT_EQ(fsync(descriptor), 0);
    close(descriptor);
  }

  DiskImage image = whole(recorder);
  ASSERT_EQ(image.names.size(), 2U);
  for (const auto& [name, file] : image.names) EXPECT_EQ(image.files[file], std::string("\0th", 3)) << name;
}

TEST_F(DiskRecorderTest, CallsForLargeFilesReachTheSystemWithTheirOffsetsWhole) {
  constexpr off64_t far = off64_t(5) << 30;
  const int descriptor = open64(folder.file("a").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  ASSERT_EQ(pwrite64(descriptor, "x", 1, far), 1);
  EXPECT_EQ(lseek64(descriptor, 0, SEEK_END), far + 1);
  ASSERT_EQ(ftruncate64(descriptor, far), 0);
  EXPECT_EQ(lseek64(descriptor, 0, SEEK_END), far);
  close(descriptor);
}

TEST_F(DiskRecorderTest, AFileWithoutANameGetsTheModeThatItWasGiven) {
  const int descriptor = open(folder.path().c_str(), O_RDWR | O_TMPFILE | O_CLOEXEC, 0600);
  if (descriptor < 0 && (errno == EOPNOTSUPP || errno == EISDIR)) GTEST_SKIP() << "no such files here";
  ASSERT_GE(descriptor, 0);
  struct stat status = {};
  ASSERT_EQ(fstat(descriptor, &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  close(descriptor);
}

TEST_F(DiskRecorderTest, LeavesOtherFoldersAlone) {
  const TemporaryFolder other;
  const DiskRecorder recorder(folder.path());
  close(open(other.file("a").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  EXPECT_EQ(recorder.journal().length(), 0U);
}

TEST_F(DiskRecorderTest, AnImageIsWrittenWithTheNamesThatAFileHas) {
  const DiskImage image{.names = {{"a", 1}, {"b", 1}, {"c", 2}}, .files = {{1, "one"}}};
  const std::string path = folder.file("written");
  image.write(path);
  EXPECT_EQ(std::filesystem::hard_link_count(path + "/a"), 2U);
  const DiskImage read = DiskImage::read(path);
  EXPECT_EQ(read.files.at(read.names.at("b")), "one");
  EXPECT_EQ(read.files.at(read.names.at("c")), "");
}

}  // namespace
}  // namespace vellora::tests
