#include "hostkit/cache/sqlite/SQLiteSchema.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

#include "hostkit/cache/sqlite/SQLiteResultCodes.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::hostkit::tests {
namespace {

using vellora::tests::TemporaryFolder;

using sqliteSchema::State;

class SQLiteSchemaTest : public testing::Test {
 protected:
  SQLiteSchemaTest() {
    writeFile(path, "");
    database = SQLiteDatabase::open(path, std::chrono::milliseconds(1)).database;
    sqliteSchema::create(*database);
    EXPECT_FALSE(database->failed());
  }

  /// What the schema is taken for after another program ran `sql`.
  [[nodiscard]] State stateAfter(const std::string& sql) {
    RawDatabase(path).run(sql);
    return sqliteSchema::check(*database);
  }

  /// What the schema is taken for with other bytes from `offset` on.
  [[nodiscard]] State stateWith(const std::string& bytes, std::size_t offset) {
    database.reset();
    writeFile(path, fileBytes(path).replace(offset, bytes.size(), bytes));
    database = SQLiteDatabase::open(path, std::chrono::milliseconds(1)).database;
    return sqliteSchema::check(*database);
  }

  TemporaryFolder folder;
  const std::string path = folder.file("cache.db");
  std::unique_ptr<SQLiteDatabase> database;
};

TEST_F(SQLiteSchemaTest, TakesWhatItCreatedForSound) {
  EXPECT_EQ(sqliteSchema::check(*database), State::sound);
}

TEST_F(SQLiteSchemaTest, MindsNoTablesOfOthers) {
  EXPECT_EQ(stateAfter("ANALYZE"), State::sound);
}

TEST_F(SQLiteSchemaTest, MindsEveryStatementOfOurs) {
  EXPECT_EQ(stateAfter("DROP INDEX vellora_meta_pair"), State::damaged);
}

TEST_F(SQLiteSchemaTest, MindsTheNumbers) {
  EXPECT_EQ(stateAfter("PRAGMA application_id = 1"), State::damaged);
}

TEST_F(SQLiteSchemaTest, TakesAnEarlierVersionForDamaged) {
  EXPECT_EQ(stateAfter("PRAGMA user_version = 0"), State::damaged);
}

TEST_F(SQLiteSchemaTest, TellsANewerVersion) {
  EXPECT_EQ(stateAfter("PRAGMA user_version = 2; DROP TABLE vellora_blob"), State::newer);
}

TEST_F(SQLiteSchemaTest, TakesTablesThatCannotBeReadForDamaged) {
  EXPECT_EQ(stateWith(std::string(100, 'x'), 100), State::damaged);
  EXPECT_TRUE(meansDamage(database->failure()));
}

TEST_F(SQLiteSchemaTest, TakesALayoutThatSQLiteDoesNotKnowForDamaged) {
  constexpr std::size_t lastOfLayout = 47;
  EXPECT_EQ(stateWith("\x09", lastOfLayout), State::damaged);
  EXPECT_TRUE(meansOtherLayout(database->failure()));
}

TEST_F(SQLiteSchemaTest, WaitsForTheDiskWhileItCreates) {
  SQLiteStatement full = database->statement("PRAGMA synchronous");
  ASSERT_TRUE(full.step());
  EXPECT_EQ(full.integer(SQLiteStatement::onlyColumn), 2);
}

TEST_F(SQLiteSchemaTest, TellsWhereThereCanBeNoLog) {
  database = SQLiteDatabase::open(":memory:", std::chrono::milliseconds(1)).database;
  sqliteSchema::create(*database);
  EXPECT_EQ(database->failure(), SQLITE_BUSY);
}

TEST_F(SQLiteSchemaTest, GoesOnWithoutALogThatCannotBeHad) {
  RawDatabase other(path);
  database.reset();
  other.run("PRAGMA journal_mode = DELETE; BEGIN IMMEDIATE");
  database = SQLiteDatabase::open(path, std::chrono::milliseconds(1)).database;
  sqliteSchema::restoreLog(*database);
  EXPECT_FALSE(database->failed());
  SQLiteStatement mode = database->statement("PRAGMA journal_mode");
  ASSERT_TRUE(mode.step());
  EXPECT_EQ(mode.bytes(SQLiteStatement::onlyColumn), "delete");
}

TEST_F(SQLiteSchemaTest, TellsALockFromDamage) {
  database.reset();
  RawDatabase other(path);
  other.run("PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE; PRAGMA user_version = 1");
  database = SQLiteDatabase::open(path, std::chrono::milliseconds(1)).database;
  ASSERT_NE(database, nullptr);
  EXPECT_EQ(sqliteSchema::check(*database), State::unreadable);
  EXPECT_TRUE(meansLocked(database->failure()));
}

}  // namespace
}  // namespace vellora::hostkit::tests
