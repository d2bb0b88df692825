#pragma once

#include <memory>
#include <string>
#include <vector>

#include "vellora/Host/Cache.h"
#include "vellora/Host/CacheEntry.h"
#include "vellora/Host/Query.h"
#include "vellora/Host/Row.h"
#include "vellora/Host/Table.h"
#include "vellora/Platform/Values/Export.h"

namespace CorvaneSDK {

/// A table of rows kept in a `Cache`. Implemented by the host, handed out by its `Cache`.
///
/// What you must guarantee:
/// - A row's place in oldest-first order is the moment at which it was last written.
/// - A row older than the table's maximum age is not returned any more.
/// - A damaged row is not returned.
/// - Of rows with the same meta, an exact query yields the one that was written last first. The library takes
///   that one and ignores the others.
/// - Every row has a `dataKey` that no other row of the table has.
///
/// What you may rely on:
/// - Results of `purge` and `upsert` are advisory; the library neither logs nor retries a false one.
/// - Filters are quick, do not call back into the table, and are not called after the call has returned.
///
/// Ownership: held by `std::shared_ptr` by each data service that opened it; keeps what it needs of its
/// `Cache`.
///
/// Threads: every call comes from several threads at once.
///
/// Errors: the results tell. A read that fails finds nothing, a write that fails gives false. Throw nothing
/// but `std::bad_alloc`.
class VELLORA_EXPORT CacheTable {
 public:
  virtual ~CacheTable() = default;

  /// The table `tableKey` of `cache`, or null when none has been created yet.
  [[nodiscard]] static std::shared_ptr<CacheTable> open(Cache& cache, const std::string& tableKey) {
    return cache.openTable(tableKey);
  }

  /// Creates the table that `table` describes in `cache`.
  [[nodiscard]] static std::shared_ptr<CacheTable> create(Cache& cache, const Table& table) {
    return cache.createTable(table);
  }

  /// The data of the rows that `query` selects.
  [[nodiscard]] virtual std::vector<vellora::Data> load(const Query& query) = 0;

  /// The rows that `query` selects, without their data.
  [[nodiscard]] virtual std::vector<Row> fetch(const Query& query) = 0;

  /// Deletes every row that `rowsInFilter` admits. True when none of them is left.
  virtual bool purge(const RowFilter& rowsInFilter) = 0;

  /// Stores `entry` as a row: with a data key it replaces the row of that key. Without one the host keys the
  /// row; whether it then replaces an earlier row of the same meta is the host's choice. Either way the row
  /// just written is the newest of the table. True when it is stored.
  virtual bool upsert(const CacheEntry& entry) = 0;

 protected:
  CacheTable() = default;
  CacheTable(const CacheTable&) = default;
  CacheTable& operator=(const CacheTable&) = default;
};

}  // namespace CorvaneSDK
