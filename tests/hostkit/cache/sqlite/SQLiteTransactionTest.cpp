#include "hostkit/cache/sqlite/SQLiteTransaction.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "hostkit/cache/sqlite/SQLiteResultCodes.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::hostkit::tests {
namespace {

class SQLiteTransactionTest : public testing::Test {
 protected:
  SQLiteTransactionTest() {
    RawDatabase(path).run("CREATE TABLE item(value)");
    database = SQLiteDatabase::open(path, std::chrono::milliseconds(1)).database;
  }

  [[nodiscard]] std::int64_t count() {
    SQLiteStatement statement = database->statement("SELECT count(*) FROM item");
    return statement.step() ? statement.integer(SQLiteStatement::onlyColumn) : -1;
  }

  vellora::tests::TemporaryFolder folder;
  const std::string path = folder.file("items.db");
  std::unique_ptr<SQLiteDatabase> database;
};

TEST_F(SQLiteTransactionTest, KeepsWhatIsCommitted) {
  {
    SQLiteTransaction transaction(*database, SQLiteTransaction::Kind::writing);
    database->run("INSERT INTO item VALUES(1)");
    transaction.commit();
    EXPECT_FALSE(database->inTransaction());
  }
  EXPECT_EQ(count(), 1);
}

TEST_F(SQLiteTransactionTest, UndoesATransactionThatIsNotCommitted) {
  {
    const SQLiteTransaction transaction(*database, SQLiteTransaction::Kind::writing);
    database->run("INSERT INTO item VALUES(1)");
    EXPECT_TRUE(database->inTransaction());
  }
  EXPECT_FALSE(database->inTransaction());
  EXPECT_EQ(count(), 0);
}

TEST_F(SQLiteTransactionTest, UndoesATransactionThatFailsAndKeepsTheFailure) {
  {
    SQLiteTransaction transaction(*database, SQLiteTransaction::Kind::writing);
    database->run("INSERT INTO item VALUES(1)");
    database->noteDamage();
    transaction.commit();
  }
  EXPECT_TRUE(meansDamage(database->failure()));
  database->clearFailure();
  EXPECT_EQ(count(), 0);
}

TEST_F(SQLiteTransactionTest, AReaderLocksNobodyOut) {
  const SQLiteTransaction transaction(*database, SQLiteTransaction::Kind::reading);
  RawDatabase(path).run("INSERT INTO item VALUES(1)");
  EXPECT_EQ(count(), 1);
}

TEST_F(SQLiteTransactionTest, AWriterLocksOtherWritersOutFromItsBeginning) {
  RawDatabase other(path);
  other.run("BEGIN IMMEDIATE");
  const SQLiteTransaction transaction(*database, SQLiteTransaction::Kind::writing);
  EXPECT_TRUE(meansLocked(database->failure()));
}

}  // namespace
}  // namespace vellora::hostkit::tests
