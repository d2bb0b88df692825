#include "hostkit/cache/sqlite/SQLiteFileMarks.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#include "hostkit/cache/sqlite/SQLiteCacheFile.h"
#include "tests/hostkit/cache/sqlite/FaultyFiles.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::hostkit::tests {
namespace {

using vellora::tests::TemporaryFolder;

class SQLiteFileMarksTest : public testing::Test {
 protected:
  SQLiteFileMarksTest() {
    EXPECT_TRUE(sqliteCacheFile::open(path, std::chrono::milliseconds(1)).hasValue());
    ours = fileBytes(path);
  }

  /// What `bytes` are taken for, as a file.
  [[nodiscard]] SQLiteFileKind kindOf(const std::string& bytes) const {
    writeFile(path, bytes);
    return kindOfFile(path);
  }

  [[nodiscard]] static std::string without(std::string bytes, std::size_t offset) {
    bytes.replace(offset, 1, 1, static_cast<char>(~bytes[offset]));
    return bytes;
  }

  static constexpr std::size_t magic = 3;
  static constexpr std::size_t id = 70;
  TemporaryFolder folder;
  const std::string path = folder.file("cache.db");
  std::string ours;
};

TEST_F(SQLiteFileMarksTest, KnowsOurFilesByThreeMarks) {
  EXPECT_EQ(kindOf(ours), SQLiteFileKind::ours);
}

TEST_F(SQLiteFileMarksTest, TwoMarksOfThreeMakeADamagedFileOfOurs) {
  const std::size_t table = ours.find("CREATE TABLE vellora_blob(");
  EXPECT_EQ(kindOf(without(ours, magic)), SQLiteFileKind::damaged);
  EXPECT_EQ(kindOf(without(ours, id)), SQLiteFileKind::damaged);
  EXPECT_EQ(kindOf(without(ours, table)), SQLiteFileKind::damaged);
  EXPECT_EQ(kindOf(ours.substr(0, 72)), SQLiteFileKind::damaged);
}

TEST_F(SQLiteFileMarksTest, OneMarkMakesNoFileOfOurs) {
  const std::size_t table = ours.find("CREATE TABLE vellora_blob(");
  EXPECT_EQ(kindOf(without(without(ours, magic), id)), SQLiteFileKind::foreign);
  EXPECT_EQ(kindOf(without(without(ours, magic), table)), SQLiteFileKind::foreign);
  EXPECT_EQ(kindOf(without(without(ours, id), table)), SQLiteFileKind::foreign);
  for (const std::size_t size : {60U, 64U, 66U, 68U, 71U})
    EXPECT_EQ(kindOf(ours.substr(0, size)), SQLiteFileKind::foreign) << size;
  EXPECT_EQ(kindOf("S"), SQLiteFileKind::foreign);
}

TEST_F(SQLiteFileMarksTest, NothingButZeroBytesAreADamagedFileOfOurs) {
  for (const std::size_t size : {1U, 4095U, 4096U, 4097U, 45056U, 300000U}) {
    EXPECT_EQ(kindOf(std::string(size, '\0')), SQLiteFileKind::damaged) << size;
  }
}

TEST_F(SQLiteFileMarksTest, OneOtherByteAmongZerosMakesNoFileOfOurs) {
  constexpr std::size_t size = 300000;
  const std::string zeros(size, '\0');
  for (const std::size_t offset : {std::size_t{0}, std::size_t{4095}, std::size_t{4096}, std::size_t{69631},
                                   std::size_t{69632}, size - 1}) {
    EXPECT_EQ(kindOf(without(zeros, offset)), SQLiteFileKind::foreign) << offset;
  }
}

TEST_F(SQLiteFileMarksTest, ReadsALargeFileNoFurtherThanItsFirstByteThatIsNotZero) {
  writeFile(path, without(std::string(8192, '\0'), 8191));
  std::filesystem::resize_file(path, std::uintmax_t{1} << 40U);  // sparse; all of it would take minutes
  EXPECT_EQ(kindOfFile(path), SQLiteFileKind::foreign);
}

TEST_F(SQLiteFileMarksTest, TellsANewerVersionByItsNumber) {
  std::string newer = ours;
  newer.at(63) = 2;
  EXPECT_EQ(kindOf(newer), SQLiteFileKind::newer);
}

TEST_F(SQLiteFileMarksTest, AFileThatFailsToBeReadIsUnreadableAndSaysWhy) {
  writeFile(path, std::string(300000, '\0'));
  FaultyFiles files;
  for (const int call : {1, 2, 3}) {  // to open it, to read its first page, and to read behind that
    files.failAt(call, FaultyFiles::Fault::error, FaultyFiles::Lasting::once);
    errno = 0;
    EXPECT_EQ(kindOfFile(path), SQLiteFileKind::unreadable) << call;
    EXPECT_EQ(errno, EACCES) << call;
    EXPECT_TRUE(files.hasFailed()) << call;
  }
}

TEST_F(SQLiteFileMarksTest, LeavesNoFileOpen) {
  const int before = nextDescriptor();
  EXPECT_EQ(kindOf(ours), SQLiteFileKind::ours);
  EXPECT_EQ(nextDescriptor(), before);
}

TEST_F(SQLiteFileMarksTest, TellsAbsentFromEmpty) {
  EXPECT_EQ(kindOf(""), SQLiteFileKind::empty);
  EXPECT_EQ(kindOfFile(folder.file("none")), SQLiteFileKind::absent);
  EXPECT_EQ(kindOfFile(folder.path().string()), SQLiteFileKind::foreign);
  EXPECT_EQ(kindOfFile(path + "/below"), SQLiteFileKind::unreadable);
}

}  // namespace
}  // namespace vellora::hostkit::tests
