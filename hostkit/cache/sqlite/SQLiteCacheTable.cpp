#include "hostkit/cache/sqlite/SQLiteCacheTable.h"

#include <cmath>
#include <cstdint>
#include <optional>
#include <utility>

#include "hostkit/cache/rows/LiveSpan.h"
#include "hostkit/cache/rows/MetaCodec.h"
#include "hostkit/cache/sqlite/SQLiteDatabase.h"
#include "hostkit/cache/sqlite/SQLiteRowChanges.h"
#include "hostkit/cache/sqlite/SQLiteRowQueries.h"
#include "hostkit/cache/sqlite/SQLiteTables.h"
#include "hostkit/cache/sqlite/SQLiteTransaction.h"

namespace vellora::hostkit {

namespace {

using CorvaneSDK::Table;
using Access = SQLiteStore::Access;
using Kind = SQLiteTransaction::Kind;

/// Records the table unless that has been done.
void ensureTable(SQLiteDatabase& database, const Table& table) {
  if (!sqliteTables::maxAge(database, table.key())) sqliteTables::write(database, table);
}

}  // namespace

std::shared_ptr<SQLiteCacheTable> SQLiteCacheTable::open(std::shared_ptr<SQLiteStore> store,
                                                         const std::string& tableKey) {
  std::optional<Table::MaxAge> maxAge;
  store->perform(
      [&maxAge, &tableKey](SQLiteDatabase& database) { maxAge = sqliteTables::maxAge(database, tableKey); },
      Access::reading);
  if (!maxAge) return nullptr;
  return std::make_shared<SQLiteCacheTable>(std::move(store), Table::emptyWithKey(tableKey, *maxAge));
}

std::shared_ptr<SQLiteCacheTable> SQLiteCacheTable::create(std::shared_ptr<SQLiteStore> store,
                                                           const Table& table) {
  if (auto existing = open(store, table.key())) return existing;
  store->perform([&table](SQLiteDatabase& database) {
    SQLiteTransaction transaction(database, Kind::writing);
    ensureTable(database, table);
    transaction.commit();
  });
  return std::make_shared<SQLiteCacheTable>(std::move(store), table);
}

SQLiteCacheTable::SQLiteCacheTable(std::shared_ptr<SQLiteStore> store, Table table)
    : store_(std::move(store)), table_(std::move(table)) {}

std::vector<Data> SQLiteCacheTable::load(const CorvaneSDK::Query& query) {
  std::vector<Data> blobs;
  for (const auto& stored : rowsFor(query)) blobs.push_back(stored->data);
  return blobs;
}

std::vector<CorvaneSDK::Row> SQLiteCacheTable::fetch(const CorvaneSDK::Query& query) {
  std::vector<CorvaneSDK::Row> rows;
  for (const auto& stored : rowsFor(query)) rows.push_back(stored->row);
  return rows;
}

/// The filter is asked between two transactions, while no lock is held. A row that is rewritten in between
/// has a new sequence, and stays.
bool SQLiteCacheTable::purge(const CorvaneSDK::RowFilter& rowsInFilter) {
  std::vector<sqliteRows::Header> doomed;
  const auto readHeaders = [&](SQLiteDatabase& database) {
    SQLiteTransaction transaction(database, Kind::reading);
    doomed = sqliteRows::readHeaders(database, table_.key(), rowsInFilter);
    transaction.commit();
  };
  const bool read = store_->perform(readHeaders, Access::reading);
  if (!read) return false;
  // A row that cannot be read is of no use to anyone.
  std::erase_if(doomed,
                [&rowsInFilter](const auto& header) { return header.row && !rowsInFilter(*header.row); });
  if (doomed.empty()) return true;

  return store_->perform([&doomed](SQLiteDatabase& database) {
    SQLiteTransaction transaction(database, Kind::writing);
    for (const auto& header : doomed) sqliteRows::remove(database, header.sequence);
    transaction.commit();
  });
}

bool SQLiteCacheTable::upsert(const CorvaneSDK::CacheEntry& entry) {
  const Date written = store_->date();
  if (std::isnan(written.secondsSinceReferenceDate())) return false;
  const CorvaneSDK::Row row{entry.meta, entry.dataKey ? *entry.dataKey : derivedDataKey(entry.meta)};
  return store_->perform([&](SQLiteDatabase& database) {
    SQLiteTransaction transaction(database, Kind::writing);
    ensureTable(database, table_);
    sqliteRows::removeOutside(database, table_.key(), LiveSpan(written, table_.maxAge()));
    sqliteRows::write(database, table_.key(), row, entry.data, written);
    transaction.commit();
  });
}

StoredRows SQLiteCacheTable::rowsFor(const CorvaneSDK::Query& query) {
  if (selectsNothing(query)) return {};
  const LiveSpan live(store_->date(), table_.maxAge());
  const CorvaneSDK::Meta* pairs = query.filter() ? indexablePairs(*query.filter()) : nullptr;
  StoredRows rows;
  const auto readRows = [&](SQLiteDatabase& database) {
    SQLiteTransaction transaction(database, Kind::reading);
    rows = sqliteRows::read(database, table_.key(), live, pairs);
    transaction.commit();
  };
  const bool read = store_->perform(readRows, Access::reading);
  return read ? selectedRows(std::move(rows), query) : StoredRows();
}

}  // namespace vellora::hostkit
