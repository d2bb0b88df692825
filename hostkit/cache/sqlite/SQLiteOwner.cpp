#include "hostkit/cache/sqlite/SQLiteOwner.h"

#include <sqlite3.h>

#include <cstdint>
#include <optional>
#include <string_view>

#include "hostkit/cache/rows/Checksum.h"
#include "hostkit/cache/rows/KeyedDigest.h"
#include "hostkit/cache/sqlite/SQLiteTransaction.h"

namespace vellora::hostkit::sqliteOwner {

namespace {

using Kind = SQLiteTransaction::Kind;

/// The columns of the statement that reads the mark, in their order.
struct Column {
  enum : int { key, digest, checksum };
};

std::int64_t checksum(std::string_view key, std::string_view digest) {
  return Checksum().add("owner").add(key).add(digest).value();
}

// Only files with an owner have this table, and the check of the layout does not look for its name. So a
// program that knows no owners opens a file with one, and this one opens a file without.
bool hasTable(SQLiteDatabase& database) {
  return database.statement("SELECT 1 FROM sqlite_schema WHERE name = 'owner'").step();
}

/// Whether the database belongs to `owner`; no value when it belongs to nobody, or could not be read.
std::optional<bool> belongsTo(SQLiteDatabase& database, const std::string& owner) {
  if (!hasTable(database)) return std::nullopt;
  SQLiteStatement mark = database.statement("SELECT key, digest, checksum FROM owner");
  if (!mark.step()) return std::nullopt;
  const std::string_view key = mark.bytes(Column::key);
  const std::string_view digest = mark.bytes(Column::digest);
  if (checksum(key, digest) != mark.integer(Column::checksum)) {
    database.noteDamage();
    return std::nullopt;
  }
  const std::string expected = keyedDigest(key, owner);
  if (expected.empty()) database.note(SQLITE_NOMEM);
  return digest == expected;
}

void write(SQLiteDatabase& database, const std::string& owner) {
  const std::string key = randomKey();
  const std::string digest = keyedDigest(key, owner);
  if (key.empty() || digest.empty()) return database.note(SQLITE_NOMEM);
  database.run(
      "CREATE TABLE IF NOT EXISTS owner(key BLOB NOT NULL, digest BLOB NOT NULL, checksum INTEGER NOT NULL)");
  database.statement("INSERT INTO owner(key, digest, checksum) VALUES(?, ?, ?)")
      .bind(std::string_view(key))
      .bind(std::string_view(digest))
      .bind(checksum(key, digest))
      .step();
}

Claim verdict(const SQLiteDatabase& database, bool isOwner) {
  if (database.failed()) return Claim::failed;
  return isOwner ? Claim::granted : Claim::refused;
}

}  // namespace

Claim claim(SQLiteDatabase& database, const std::string& owner) {
  {
    SQLiteTransaction look(database, Kind::reading);
    if (const auto isOwner = belongsTo(database, owner)) return verdict(database, *isOwner);
  }
  if (database.failed()) return Claim::failed;
  SQLiteTransaction transaction(database, Kind::writing);
  // Another process may have been quicker.
  const auto isOwner = belongsTo(database, owner);
  if (!isOwner) write(database, owner);
  transaction.commit();
  return verdict(database, isOwner.value_or(true));
}

}  // namespace vellora::hostkit::sqliteOwner
