#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/cache/rows/LiveSpan.h"
#include "hostkit/cache/rows/StoredRow.h"
#include "hostkit/cache/sqlite/SQLiteDatabase.h"
#include "vellora/Host/Query.h"

namespace vellora::hostkit {

/// The statements that read rows. Each leaves its failures in the database; calls that belong together are
/// put in one transaction by the caller.
namespace sqliteRows {

/// A row as far as a decision to delete it needs it.
struct Header {
  std::int64_t sequence = 0;
  std::optional<CorvaneSDK::Row> row;  ///< absent when it cannot be read
};

/// The undamaged rows of the table whose date `live` contains and, when `pairs` is not null, whose meta holds
/// them; oldest first.
[[nodiscard]] StoredRows read(SQLiteDatabase& database, const std::string& tableKey, const LiveSpan& live,
                              const CorvaneSDK::Meta* pairs);

/// The rows of the table that `filter` may admit, damaged and old ones included: those that an index finds
/// when it compares meta pairs or the data key, else every row. The filter itself is not called.
[[nodiscard]] std::vector<Header> readHeaders(SQLiteDatabase& database, const std::string& tableKey,
                                              const CorvaneSDK::RowFilter& filter);

/// A row as the table holds it.
struct Kept {
  CorvaneSDK::Row row;  ///< without meta when that cannot be read
  Date written;
  std::optional<Data> data;  ///< absent when the row is damaged
  bool found = true;         ///< false when the index lacks some of its meta pairs, so that queries miss it
};

/// Every row of the table in the order of writing, old and damaged ones included.
[[nodiscard]] std::vector<Kept> readAll(SQLiteDatabase& database, const std::string& tableKey);

}  // namespace sqliteRows

}  // namespace vellora::hostkit
