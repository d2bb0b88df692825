#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "hostkit/cache/rows/Checksum.h"
#include "hostkit/cache/rows/StoredRow.h"
#include "hostkit/cache/sqlite/SQLiteDatabase.h"

namespace vellora::hostkit {

/// How a row stands in the file, and how one that was read is known to be sound.
namespace sqliteRowFormat {

/// The columns of a statement that reads whole rows, in their order.
struct Column {
  enum : int { sequence, dataKey, written, checksum, meta, data };
};

/// A row without its data.
struct Head {
  std::int64_t sequence;
  std::string_view dataKey;
  double written;  ///< in seconds since the reference date
  std::string_view meta;
};

/// Over everything but the data, which is to be added last.
[[nodiscard]] Checksum headChecksum(std::string_view tableKey, const Head& head);

/// The row that `found` stands on; null when it does not fit its checksum. `found` has the columns of
/// `Column`. NULL in place of the data stands for a large row, whose data is read only when the row is not
/// among `database`'s large rows.
[[nodiscard]] std::shared_ptr<const StoredRow> verifiedRow(SQLiteDatabase& database,
                                                           const SQLiteStatement& found,
                                                           std::string_view tableKey);

}  // namespace sqliteRowFormat

}  // namespace vellora::hostkit
