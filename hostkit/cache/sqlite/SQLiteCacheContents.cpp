#include "hostkit/cache/sqlite/SQLiteCacheContents.h"

#include <cerrno>
#include <chrono>
#include <string_view>
#include <utility>

#include "hostkit/cache/rows/LiveSpan.h"
#include "hostkit/cache/sqlite/CachePath.h"
#include "hostkit/cache/sqlite/SQLiteBlobs.h"
#include "hostkit/cache/sqlite/SQLiteDatabase.h"
#include "hostkit/cache/sqlite/SQLiteFileMarks.h"
#include "hostkit/cache/sqlite/SQLiteResultCodes.h"
#include "hostkit/cache/sqlite/SQLiteRowQueries.h"
#include "hostkit/cache/sqlite/SQLiteSchema.h"
#include "hostkit/cache/sqlite/SQLiteTables.h"
#include "hostkit/cache/sqlite/SQLiteTransaction.h"

namespace vellora::hostkit {

namespace {

using Reason = SQLiteCacheError::Reason;

// How long to wait for another process's lock. It is longer than a cache waits by default, because whoever
// inspects a file can wait better than an application can.
constexpr std::chrono::milliseconds longestLockWait(1000);

/// Why a file of that kind cannot be read; absent for one of ours that is whole as far as can be seen.
std::optional<Error> refusal(const std::string& path) {
  switch (kindOfFile(path)) {
    case SQLiteFileKind::ours:
      return std::nullopt;
    case SQLiteFileKind::absent:
    case SQLiteFileKind::empty:
      return SQLiteCacheError{Reason::absent, path, ""};
    case SQLiteFileKind::damaged:
      return SQLiteCacheError{Reason::damaged, path, ""};
    case SQLiteFileKind::newer:
      return SQLiteCacheError{Reason::newerVersion, path, ""};
    case SQLiteFileKind::foreign:
      return SQLiteCacheError{Reason::foreignFile, path, ""};
    case SQLiteFileKind::unreadable:
      break;
  }
  return errorForErrno(path, errno);
}

std::string rowName(const std::string& table, const CorvaneSDK::Row& row) {
  return "row \"" + row.dataKey + "\" of table \"" + table + "\"";
}

void readBlobs(SQLiteDatabase& database, SQLiteCacheContents& contents) {
  sqliteBlobs::readAll(database, [&contents](std::string key, std::optional<Data> data) {
    if (!data) contents.findings.push_back("blob \"" + key + "\" does not fit its checksum");
    contents.blobs.push_back({std::move(key), std::move(data)});
  });
}

void readTable(SQLiteDatabase& database, const std::string& key, Date present,
               SQLiteCacheContents& contents) {
  const auto maxAge = sqliteTables::maxAge(database, key);
  if (!maxAge) contents.findings.push_back("the record of table \"" + key + "\" does not fit its checksum");
  SQLiteCacheContents::Table table{key, maxAge.value_or(CorvaneSDK::Table::MaxAge::sevenDays), {}};
  const LiveSpan live(present, table.maxAge);
  for (auto& kept : sqliteRows::readAll(database, key)) {
    if (!kept.data) contents.findings.push_back(rowName(key, kept.row) + " does not fit its checksum");
    if (!kept.found) contents.findings.push_back(rowName(key, kept.row) + " is missing from the index");
    table.rows.push_back(
        {std::move(kept.row), kept.written, std::move(kept.data), !live.contains(kept.written)});
  }
  contents.tables.push_back(std::move(table));
}

void checkDatabase(SQLiteDatabase& database, SQLiteCacheContents& contents) {
  SQLiteStatement check = database.statement("PRAGMA integrity_check");
  while (check.step()) {
    if (check.bytes(SQLiteStatement::onlyColumn) != "ok")
      contents.findings.emplace_back(check.bytes(SQLiteStatement::onlyColumn));
  }
}

}  // namespace

Result<SQLiteCacheContents> SQLiteCacheContents::read(const std::string& path, Date present) {
  auto whole = cachePath::resolved(path);
  if (!whole) return whole.error();
  const std::string resolved = std::move(whole).value();
  if (auto error = refusal(resolved)) return *std::move(error);
  const auto [database, code] = SQLiteDatabase::openForReading(resolved, longestLockWait);
  if (database == nullptr) return errorForCode(resolved, code);

  SQLiteCacheContents contents;
  SQLiteTransaction snapshot(*database, SQLiteTransaction::Kind::reading);
  const auto state = sqliteSchema::check(*database);
  if (state == sqliteSchema::State::newer) return Error(SQLiteCacheError{Reason::newerVersion, resolved, ""});
  if (state == sqliteSchema::State::damaged) return Error(SQLiteCacheError{Reason::damaged, resolved, ""});
  checkDatabase(*database, contents);
  readBlobs(*database, contents);
  for (const auto& key : sqliteTables::keys(*database)) readTable(*database, key, present, contents);
  if (database->failed()) return errorForCode(resolved, database->failure());
  return contents;
}

}  // namespace vellora::hostkit
