#pragma once

#include <optional>
#include <string>
#include <vector>

#include "hostkit/cache/sqlite/SQLiteDatabase.h"
#include "vellora/Host/Table.h"

namespace vellora::hostkit {

/// The records of which tables there are. Each call leaves its failures in the database; calls that belong
/// together are put in one transaction by the caller.
namespace sqliteTables {

/// The keys under which tables are recorded, in their order; those with a damaged record included.
[[nodiscard]] std::vector<std::string> keys(SQLiteDatabase& database);

/// The maximum age that the table was created with; absent when there is no such table, or its record is
/// damaged.
[[nodiscard]] std::optional<CorvaneSDK::Table::MaxAge> maxAge(SQLiteDatabase& database,
                                                              const std::string& tableKey);

/// Records that there is such a table.
void write(SQLiteDatabase& database, const CorvaneSDK::Table& table);

}  // namespace sqliteTables

}  // namespace vellora::hostkit
