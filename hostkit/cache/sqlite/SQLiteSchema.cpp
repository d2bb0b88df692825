#include "hostkit/cache/sqlite/SQLiteSchema.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "hostkit/cache/sqlite/SQLiteResultCodes.h"
#include "hostkit/cache/sqlite/SQLiteTransaction.h"

namespace vellora::hostkit::sqliteSchema {

namespace {

// Sequences and generations are never used twice, so a row that was replaced cannot be mistaken for its
// successor.
constexpr std::array<std::string_view, 6> statements = {
    "CREATE TABLE vellora_blob(generation INTEGER PRIMARY KEY AUTOINCREMENT, name BLOB NOT NULL UNIQUE, "
    "checksum INTEGER NOT NULL, data BLOB NOT NULL)",
    "CREATE TABLE vellora_table(name BLOB NOT NULL UNIQUE, max_age INTEGER NOT NULL, checksum INTEGER NOT "
    "NULL)",
    "CREATE TABLE vellora_row(sequence INTEGER PRIMARY KEY AUTOINCREMENT, table_name BLOB NOT NULL, "
    "data_key BLOB NOT NULL, written REAL NOT NULL, checksum INTEGER NOT NULL, meta BLOB NOT NULL, "
    "data BLOB NOT NULL, UNIQUE(table_name, data_key))",
    "CREATE INDEX vellora_row_age ON vellora_row(table_name, written)",
    "CREATE TABLE vellora_meta(sequence INTEGER NOT NULL, name BLOB NOT NULL, value BLOB NOT NULL, "
    "table_name BLOB NOT NULL, PRIMARY KEY(sequence, name)) WITHOUT ROWID",
    "CREATE INDEX vellora_meta_pair ON vellora_meta(table_name, name, value)",
};

std::int64_t number(SQLiteDatabase& database, std::string_view sql) {
  SQLiteStatement statement = database.statement(sql);
  return statement.step() ? statement.integer(SQLiteStatement::onlyColumn) : -1;
}

/// The texts that SQLite keeps of our statements, and of the table that it made itself for the sequences.
std::vector<std::string> expectedTexts() {
  std::vector<std::string> texts(statements.begin(), statements.end());
  texts.emplace_back("CREATE TABLE sqlite_sequence(name,seq)");
  std::sort(texts.begin(), texts.end());
  return texts;
}

bool holdsOurStatements(SQLiteDatabase& database) {
  std::vector<std::string> texts;
  SQLiteStatement schema = database.statement(
      "SELECT sql FROM sqlite_schema "
      "WHERE sql IS NOT NULL AND (name LIKE 'vellora%' OR name = 'sqlite_sequence')");
  while (schema.step()) texts.emplace_back(schema.bytes(SQLiteStatement::onlyColumn));
  std::sort(texts.begin(), texts.end());
  return texts == expectedTexts();
}

/// Whether SQLite answers `pragma`, which asks for the journal's mode or sets it, with that of a log.
bool answersWithLog(SQLiteDatabase& database, std::string_view pragma) {
  SQLiteStatement mode = database.statement(pragma);
  return mode.step() && mode.bytes(SQLiteStatement::onlyColumn) == "wal";
}

/// Has changes written to a log from now on. When SQLite goes on in the old way, only its answer tells.
void useLog(SQLiteDatabase& database) {
  if (!answersWithLog(database, "PRAGMA journal_mode = WAL")) database.note(SQLITE_BUSY);
}

}  // namespace

void create(SQLiteDatabase& database) {
  database.run("PRAGMA synchronous = FULL");
  // Straight into the file: from a log it would be moved there only on closing, which cannot tell of
  // failures.
  database.run("PRAGMA journal_mode = MEMORY");
  {
    // On the disk before all else is: whatever a loss of power then leaves of the file can be told to be
    // ours.
    SQLiteTransaction transaction(database, SQLiteTransaction::Kind::writing);
    database.setHeaderNumber("application_id", applicationId);
    database.setHeaderNumber("user_version", version);
    transaction.commit();
  }
  {
    SQLiteTransaction transaction(database, SQLiteTransaction::Kind::writing);
    for (const auto& statement : statements) database.run(statement);
    transaction.commit();
  }
  useLog(database);
}

void restoreLog(SQLiteDatabase& database) {
  if (answersWithLog(database, "PRAGMA journal_mode")) return;
  useLog(database);
  database.clearFailure();
}

State check(SQLiteDatabase& database) {
  const std::int64_t found = number(database, "PRAGMA user_version");
  const bool sound = found == version && number(database, "PRAGMA application_id") == applicationId &&
                     holdsOurStatements(database);
  if (database.failed()) {
    const bool damaged = meansDamage(database.failure()) || meansOtherLayout(database.failure());
    return damaged ? State::damaged : State::unreadable;
  }
  if (found > version) return State::newer;
  return sound ? State::sound : State::damaged;
}

}  // namespace vellora::hostkit::sqliteSchema
