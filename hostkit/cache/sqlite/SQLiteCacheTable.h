#pragma once

#include <memory>
#include <string>
#include <vector>

#include "hostkit/cache/rows/StoredRow.h"
#include "hostkit/cache/sqlite/SQLiteStore.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Host/Table.h"

namespace vellora::hostkit {

/// A table of a `SQLiteCache`.
///
/// Ownership: shares the cache's connection.
///
/// Threads: the connection synchronises; filters and the clock are called while no lock is held.
class SQLiteCacheTable final : public CorvaneSDK::CacheTable {
 public:
  /// Null when the table was not created yet, or cannot be read.
  [[nodiscard]] static std::shared_ptr<SQLiteCacheTable> open(std::shared_ptr<SQLiteStore> store,
                                                              const std::string& tableKey);

  /// Never null. When the table cannot be recorded now, the first row that is written records it.
  [[nodiscard]] static std::shared_ptr<SQLiteCacheTable> create(std::shared_ptr<SQLiteStore> store,
                                                                const CorvaneSDK::Table& table);

  SQLiteCacheTable(std::shared_ptr<SQLiteStore> store, CorvaneSDK::Table table);

  [[nodiscard]] std::vector<Data> load(const CorvaneSDK::Query& query) override;
  [[nodiscard]] std::vector<CorvaneSDK::Row> fetch(const CorvaneSDK::Query& query) override;
  bool purge(const CorvaneSDK::RowFilter& rowsInFilter) override;
  bool upsert(const CorvaneSDK::CacheEntry& entry) override;

 private:
  [[nodiscard]] StoredRows rowsFor(const CorvaneSDK::Query& query);

  const std::shared_ptr<SQLiteStore> store_;
  const CorvaneSDK::Table table_;
};

}  // namespace vellora::hostkit
