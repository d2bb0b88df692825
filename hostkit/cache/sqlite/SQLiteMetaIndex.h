#pragma once

#include <cstdint>
#include <string>

#include "hostkit/cache/sqlite/SQLiteDatabase.h"
#include "vellora/Host/Row.h"

namespace vellora::hostkit {

/// The index of rows by the pairs of their meta. Each call leaves its failures in the database; calls that
/// belong together are put in one transaction by the caller.
namespace sqliteMetaIndex {

/// The one of `pairs` that the fewest rows of the table hold, found at a cost that grows with that few, not
/// with the table. `pairs` must not be empty; what is returned is one of its elements.
[[nodiscard]] const CorvaneSDK::Meta::value_type& rarestPair(SQLiteDatabase& database,
                                                             const std::string& tableKey,
                                                             const CorvaneSDK::Meta& pairs);

/// True when the index has every pair of `meta` for the row of that sequence.
[[nodiscard]] bool holds(SQLiteDatabase& database, const std::string& tableKey, std::int64_t sequence,
                         const CorvaneSDK::Meta& meta);

/// Adds the pairs of `meta` for a new row.
void add(SQLiteDatabase& database, const std::string& tableKey, std::int64_t sequence,
         const CorvaneSDK::Meta& meta);

/// Removes every pair of the row of that sequence.
void remove(SQLiteDatabase& database, std::int64_t sequence);

}  // namespace sqliteMetaIndex

}  // namespace vellora::hostkit
