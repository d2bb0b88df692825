#include "hostkit/cache/sqlite/SQLiteSchema.h"

#include <gtest/gtest.h>

#include <chrono>
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
