#include "hostkit/cache/sqlite/SQLiteDatabase.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include "hostkit/cache/sqlite/SQLiteResultCodes.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::hostkit::tests {
namespace {

using vellora::tests::TemporaryFolder;

class SQLiteDatabaseTest : public testing::Test {
 protected:
  SQLiteDatabaseTest() {
    RawDatabase(path).run("CREATE TABLE item(value)");
    database = SQLiteDatabase::open(path, std::chrono::milliseconds(1)).database;
  }

  [[nodiscard]] std::int64_t count() { return countIn(*database); }

  [[nodiscard]] static std::int64_t countIn(SQLiteDatabase& database) {
    SQLiteStatement statement = database.statement("SELECT count(*) FROM item");
    return statement.step() ? statement.integer(SQLiteStatement::onlyColumn) : -1;
  }

  TemporaryFolder folder;
  const std::string path = folder.file("items.db");
  std::unique_ptr<SQLiteDatabase> database;
};

TEST_F(SQLiteDatabaseTest, DoesNotCreateAFile) {
  const auto opened = SQLiteDatabase::open(folder.file("none.db"), std::chrono::milliseconds(1));
  EXPECT_EQ(opened.database, nullptr);
  EXPECT_EQ(opened.code & 0xff, SQLITE_CANTOPEN);
  EXPECT_FALSE(std::filesystem::exists(folder.file("none.db")));
}

TEST_F(SQLiteDatabaseTest, ReadsAFileWhoseLogCouldHaveNoName) {
  const std::string longest = folder.file(std::string(255, 'n'));
  std::filesystem::copy_file(path, longest);
  const auto opened = SQLiteDatabase::openForReading(longest, std::chrono::milliseconds(1));
  ASSERT_NE(opened.database, nullptr) << opened.code;
  EXPECT_EQ(countIn(*opened.database), 0);
}

TEST_F(SQLiteDatabaseTest, ReadsAFileThatNobodyMayWriteToThroughAPathWithTwoSlashes) {
  database.reset();
  chmod(path.c_str(), 0400);
  const vellora::tests::OrdinaryUser user(folder.path());
  const auto opened = SQLiteDatabase::openForReading("/" + path, std::chrono::milliseconds(1));
  ASSERT_NE(opened.database, nullptr) << opened.code;
  EXPECT_EQ(countIn(*opened.database), 0);
}

TEST_F(SQLiteDatabaseTest, RunsAStatementMoreThanOnce) {
  for (const std::int64_t number : {7, 8})
    database->statement("INSERT INTO item VALUES(?)").bind(number).step();
  EXPECT_EQ(count(), 2);
}

TEST_F(SQLiteDatabaseTest, RemembersTheFirstFailureAndDoesNothingAfterIt) {
  database->run("INSERT INTO nowhere VALUES(1)");
  EXPECT_TRUE(database->failed());
  EXPECT_TRUE(meansOtherLayout(database->failure()));
  database->run("INSERT INTO item VALUES(1)");
  EXPECT_EQ(count(), -1);

  database->clearFailure();
  EXPECT_EQ(count(), 0);
}

TEST_F(SQLiteDatabaseTest, StartsOverBehindATransactionThatWasNotUndone) {
  database->run("BEGIN");
  database->run("INSERT INTO item VALUES(1)");
  database->noteDamage();
  database->startOver();
  EXPECT_FALSE(database->failed());
  EXPECT_FALSE(database->inTransaction());
  EXPECT_EQ(count(), 0);
}

TEST_F(SQLiteDatabaseTest, TellsALockFromDamage) {
  RawDatabase other(path);
  other.run("BEGIN IMMEDIATE");
  database->run("INSERT INTO item VALUES(1)");
  EXPECT_TRUE(meansLocked(database->failure()));
  EXPECT_FALSE(meansDamage(database->failure()));
}

TEST_F(SQLiteDatabaseTest, SetsTheNumbersOfItsHeader) {
  database->setHeaderNumber("user_version", 7);
  SQLiteStatement found = database->statement("PRAGMA user_version");
  ASSERT_TRUE(found.step());
  EXPECT_EQ(found.integer(SQLiteStatement::onlyColumn), 7);
}

TEST_F(SQLiteDatabaseTest, SetsNoNumberAfterAFailure) {
  database->noteDamage();
  database->setHeaderNumber("user_version", 7);
  database->clearFailure();
  SQLiteStatement found = database->statement("PRAGMA user_version");
  ASSERT_TRUE(found.step());
  EXPECT_EQ(found.integer(SQLiteStatement::onlyColumn), 0);
}

TEST_F(SQLiteDatabaseTest, KnowsWhetherItsFileIsStillThere) {
  EXPECT_EQ(count(), 0);
  EXPECT_FALSE(database->moved());
  std::filesystem::rename(path, folder.file("elsewhere.db"));
  EXPECT_TRUE(database->moved());
}

TEST_F(SQLiteDatabaseTest, RefusesAValueThatNoFileOfOursHolds) {
  database->run("SELECT zeroblob(300000000)");
  EXPECT_EQ(database->failure(), SQLITE_TOOBIG);
}

TEST_F(SQLiteDatabaseTest, DoesNotRunTheFilesOwnTriggers) {
  RawDatabase(path).run("CREATE TRIGGER twice AFTER INSERT ON item BEGIN INSERT INTO item VALUES(2); END");
  database->run("INSERT INTO item VALUES(1)");
  EXPECT_EQ(count(), 1);
}

}  // namespace
}  // namespace vellora::hostkit::tests
