#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/cache/rows/LiveSpan.h"
#include "hostkit/cache/rows/StoredRow.h"
#include "hostkit/cache/sqlite/SQLiteDatabase.h"
#include "vellora/Host/Query.h"
#include "vellora/Host/Table.h"

namespace vellora::hostkit {

/// The statements that read and write rows. Each leaves its failures in the database; reading and writing
/// calls that belong together are put in one transaction by the caller.
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

/// Stores a row in place of the one that has its data key, and as the newest. Its sequence is given here.
void write(SQLiteDatabase& database, const std::string& tableKey, const CorvaneSDK::Row& row,
           const Data& data, Date written);

void remove(SQLiteDatabase& database, std::int64_t sequence);

/// Deletes the rows of the table whose date `live` does not contain.
void removeOutside(SQLiteDatabase& database, const std::string& tableKey, const LiveSpan& live);

/// The keys under which tables are recorded, in their order; those with a damaged record included.
[[nodiscard]] std::vector<std::string> tableKeys(SQLiteDatabase& database);

/// The maximum age that the table was created with; absent when there is no such table, or its record is
/// damaged.
[[nodiscard]] std::optional<CorvaneSDK::Table::MaxAge> maxAgeOfTable(SQLiteDatabase& database,
                                                                     const std::string& tableKey);

/// Records that there is such a table.
void writeTable(SQLiteDatabase& database, const CorvaneSDK::Table& table);

}  // namespace sqliteRows

}  // namespace vellora::hostkit
