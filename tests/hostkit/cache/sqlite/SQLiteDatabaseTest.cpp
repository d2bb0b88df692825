#include "hostkit/cache/sqlite/SQLiteDatabase.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "hostkit/cache/sqlite/SQLiteResultCodes.h"
#include "tests/hostkit/cache/sqlite/FaultyFiles.h"
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

TEST_F(SQLiteDatabaseTest, ReadsAFileThatNobodyMayWriteToByANameOfAnyCharacters) {
  const std::string strange = folder.file("%41 ?b #c");
  std::filesystem::copy_file(path, strange);
  chmod(strange.c_str(), 0400);
  const vellora::tests::OrdinaryUser user(folder.path());
  const auto opened = SQLiteDatabase::openForReading(strange, std::chrono::milliseconds(1));
  ASSERT_NE(opened.database, nullptr) << opened.code;
  EXPECT_EQ(countIn(*opened.database), 0);
}

TEST_F(SQLiteDatabaseTest, DistrustsAlsoAFileThatNobodyMayWriteTo) {
  database.reset();
  chmod(path.c_str(), 0400);
  const vellora::tests::OrdinaryUser user(folder.path());
  const auto opened = SQLiteDatabase::openForReading(path, std::chrono::milliseconds(1));
  ASSERT_NE(opened.database, nullptr) << opened.code;
  opened.database->run("SELECT zeroblob(300000000)");
  EXPECT_EQ(opened.database->failure(), SQLITE_TOOBIG);
}

TEST_F(SQLiteDatabaseTest, DoesNotReadAFileThatNobodyMayWriteToWithoutItsLog) {
  database.reset();
  writeFile(path + "-wal", "");
  chmod(path.c_str(), 0400);
  const vellora::tests::OrdinaryUser user(folder.path());
  const auto opened = SQLiteDatabase::openForReading(path, std::chrono::milliseconds(1));
  EXPECT_EQ(opened.database, nullptr);
  EXPECT_EQ(opened.code, SQLITE_READONLY);
}

TEST_F(SQLiteDatabaseTest, DoesNotReadAFileThatCannotBeOpened) {
  FaultyFiles files;
  files.failAt(1, FaultyFiles::Fault::error, FaultyFiles::Lasting::once);
  const auto opened = SQLiteDatabase::openForReading(path, std::chrono::milliseconds(1));
  EXPECT_EQ(opened.database, nullptr);
  EXPECT_EQ(opened.code & 0xff, SQLITE_CANTOPEN);
}

TEST_F(SQLiteDatabaseTest, WritesNothingWhereItIsOpenForReading) {
  const auto opened = SQLiteDatabase::openForReading(path, std::chrono::milliseconds(1));
  ASSERT_NE(opened.database, nullptr) << opened.code;
  opened.database->run("INSERT INTO item VALUES(1)");
  EXPECT_EQ(opened.database->failure(), SQLITE_READONLY);
  EXPECT_EQ(count(), 0);
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

/// Keeps connections that open while it lives from undoing what they do, as a lack of memory would.
class NoRollbacks {
 public:
  NoRollbacks() { sqlite3_auto_extension(reinterpret_cast<void (*)()>(&install)); }
  ~NoRollbacks() { sqlite3_cancel_auto_extension(reinterpret_cast<void (*)()>(&install)); }
  NoRollbacks(const NoRollbacks&) = delete;
  NoRollbacks& operator=(const NoRollbacks&) = delete;

 private:
  static int install(sqlite3* handle, char**, const void*) {
    return sqlite3_set_authorizer(handle, &judge, nullptr);
  }
  static int judge(void*, int action, const char* operation, const char*, const char*, const char*) {
    return action == SQLITE_TRANSACTION && std::string_view(operation) == "ROLLBACK" ? SQLITE_DENY
                                                                                     : SQLITE_OK;
  }
};

TEST_F(SQLiteDatabaseTest, FailsBehindATransactionThatStillCannotBeUndone) {
  const NoRollbacks none;
  database = SQLiteDatabase::open(path, std::chrono::milliseconds(1)).database;
  database->run("BEGIN");
  database->run("INSERT INTO item VALUES(1)");
  database->startOver();
  EXPECT_TRUE(database->inTransaction());
  EXPECT_EQ(database->failure(), SQLITE_NOMEM);
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

TEST_F(SQLiteDatabaseTest, WaitsForALockAsLongAsItWasTold) {
  const auto waiting = SQLiteDatabase::open(path, std::chrono::milliseconds(1234)).database;
  SQLiteStatement setting = waiting->statement("PRAGMA busy_timeout");
  ASSERT_TRUE(setting.step());
  EXPECT_EQ(setting.integer(SQLiteStatement::onlyColumn), 1234);
}

TEST_F(SQLiteDatabaseTest, HasTheSettingsOfAConnectionThatDistrustsItsFile) {
  const std::pair<std::string_view, std::int64_t> settings[] = {
      {"PRAGMA trusted_schema", 0},        {"PRAGMA mmap_size", 0},
      {"PRAGMA cell_size_check", 1},       {"PRAGMA temp_store", 2},
      {"PRAGMA cache_size", -384},         {"PRAGMA synchronous", 1},
      {"PRAGMA secure_delete", 1},         {"PRAGMA journal_size_limit", 4194304},
      {"PRAGMA wal_autocheckpoint", 2500},
  };
  for (const auto& [pragma, value] : settings) {
    SQLiteStatement setting = database->statement(pragma);
    ASSERT_TRUE(setting.step()) << pragma;
    EXPECT_EQ(setting.integer(SQLiteStatement::onlyColumn), value) << pragma;
  }
}

TEST_F(SQLiteDatabaseTest, DoesNotLetItsSchemaBeRewrittenInPlace) {
  database->run("PRAGMA writable_schema = ON");
  database->run("UPDATE sqlite_schema SET sql = 'CREATE TABLE item(other)'");
  EXPECT_EQ(database->failure(), SQLITE_ERROR);
}

TEST_F(SQLiteDatabaseTest, DoesNotLookIntoTheFilesOwnViews) {
  RawDatabase(path).run("CREATE VIEW items AS SELECT * FROM item");
  database->run("SELECT * FROM items");
  EXPECT_EQ(database->failure(), SQLITE_ERROR);
}

TEST_F(SQLiteDatabaseTest, TakesNoNameThatIsUnknownForAText) {
  database->run("SELECT \"unknown\" FROM item");
  EXPECT_EQ(database->failure(), SQLITE_ERROR);
}

TEST_F(SQLiteDatabaseTest, LetsGoOfRowsAndPages) {
  const LargeRows::Identity identity{1, 2, 3};
  database->largeRows().keep(identity, std::make_shared<StoredRow>());
  database->run("INSERT INTO item VALUES(zeroblob(300000))");
  EXPECT_EQ(count(), 1);
  const std::int64_t before = sqlite3_memory_used();
  database->releaseMemory();
  EXPECT_LT(sqlite3_memory_used(), before - 100000);
  EXPECT_EQ(database->largeRows().find(identity), nullptr);
  EXPECT_EQ(count(), 1);
}

TEST_F(SQLiteDatabaseTest, DoesNotRunTheFilesOwnTriggers) {
  RawDatabase(path).run("CREATE TRIGGER twice AFTER INSERT ON item BEGIN INSERT INTO item VALUES(2); END");
  database->run("INSERT INTO item VALUES(1)");
  EXPECT_EQ(count(), 1);
}

}  // namespace
}  // namespace vellora::hostkit::tests
