#include "hostkit/cache/sqlite/SQLiteStatement.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

#include "hostkit/cache/sqlite/SQLiteDatabase.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::hostkit::tests {
namespace {

using vellora::tests::TemporaryFolder;

class SQLiteStatementTest : public testing::Test {
 protected:
  SQLiteStatementTest() {
    RawDatabase(path).run("CREATE TABLE item(value)");
    database = SQLiteDatabase::open(path, std::chrono::milliseconds(1)).database;
  }

  TemporaryFolder folder;
  const std::string path = folder.file("items.db");
  std::unique_ptr<SQLiteDatabase> database;
};

TEST_F(SQLiteStatementTest, ReadsBackTheBytesThatWereBound) {
  const std::string bytes("\0a\0\xff", 4);
  SQLiteStatement statement = database->statement("SELECT ?");
  ASSERT_TRUE(statement.bind(bytes).step());
  EXPECT_EQ(statement.bytes(0), bytes);
  EXPECT_FALSE(statement.step());
}

TEST_F(SQLiteStatementTest, NoBytesAreNotNull) {
  SQLiteStatement statement = database->statement("SELECT ? IS NULL, ? IS NULL");
  ASSERT_TRUE(statement.bind(std::string_view()).bind(std::string_view("")).step());
  EXPECT_EQ(statement.integer(0), 0);
  EXPECT_EQ(statement.integer(1), 0);
}

TEST_F(SQLiteStatementTest, ReadsBackTheNumbersThatWereBound) {
  SQLiteStatement statement = database->statement("SELECT ?, ?");
  ASSERT_TRUE(statement.bind(std::numeric_limits<std::int64_t>::min()).bind(0.1).step());
  EXPECT_EQ(statement.integer(0), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(statement.real(1), 0.1);
}

TEST_F(SQLiteStatementTest, DoesNothingWhenItCouldNotBePrepared) {
  SQLiteStatement statement = database->statement("SELECT nonsense FROM item WHERE value = ?");
  EXPECT_FALSE(statement.bind("x").step());
  EXPECT_TRUE(database->failed());
}

TEST_F(SQLiteStatementTest, ATextOfNoStatementHasNoRowsAndIsNoFailure) {
  EXPECT_FALSE(database->statement("").step());
  EXPECT_FALSE(database->failed());
}

TEST_F(SQLiteStatementTest, StartsOverWithoutBindings) {
  EXPECT_TRUE(database->statement("SELECT ? IS NULL").bind("x").step());
  SQLiteStatement again = database->statement("SELECT ? IS NULL");
  ASSERT_TRUE(again.step());
  EXPECT_EQ(again.integer(0), 1);
}

}  // namespace
}  // namespace vellora::hostkit::tests
