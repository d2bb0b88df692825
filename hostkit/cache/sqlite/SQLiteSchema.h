#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "hostkit/cache/sqlite/SQLiteDatabase.h"

namespace vellora::hostkit {

/// What makes a database one of ours.
namespace sqliteSchema {

inline constexpr std::string_view magic{"SQLite format 3\0", 16};  ///< how every SQLite file begins
inline constexpr std::uint32_t applicationId = 0x564C5241;         ///< "VLRA", in SQLite's header
inline constexpr std::size_t applicationIdOffset = 68;             ///< where that stands in the file
inline constexpr std::size_t pageSize = 4096;                      ///< of every file of ours
inline constexpr std::uint32_t version = 1;                        ///< the newest layout that we know
inline constexpr std::string_view firstTable = "CREATE TABLE vellora_blob(";  ///< in the first page's text

enum class State { sound, damaged, newer, unreadable };

/// Writes the empty schema into an empty database.
void create(SQLiteDatabase& database);

/// Lets a sound database have its log again, which it lost when somebody began to delete its file and did not
/// come to the end. Writes nothing to one that has a log. Where the log cannot be had, because the file is
/// locked or nothing may be written, all goes on without: that is slower, and no less sound.
void restoreLog(SQLiteDatabase& database);

/// Compares what the database says of its layout with what we wrote. `unreadable` leaves the reason in the
/// database's failure.
[[nodiscard]] State check(SQLiteDatabase& database);

}  // namespace sqliteSchema

}  // namespace vellora::hostkit
