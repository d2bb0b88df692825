#pragma once

#include <cstdint>
#include <string>

#include "hostkit/cache/rows/LiveSpan.h"
#include "hostkit/cache/sqlite/SQLiteDatabase.h"
#include "vellora/Host/Row.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::hostkit {

/// The statements that write and delete rows. Each leaves its failures in the database; calls that belong
/// together are put in one transaction by the caller.
namespace sqliteRows {

/// Stores a row in place of the one that has its data key, and as the newest. Its sequence is given here.
void write(SQLiteDatabase& database, const std::string& tableKey, const CorvaneSDK::Row& row,
           const Data& data, Date written);

/// Deletes the row of that sequence, if there is one.
void remove(SQLiteDatabase& database, std::int64_t sequence);

/// Deletes the rows of the table whose date `live` does not contain.
void removeOutside(SQLiteDatabase& database, const std::string& tableKey, const LiveSpan& live);

}  // namespace sqliteRows

}  // namespace vellora::hostkit
