#pragma once

#include <optional>
#include <string>
#include <vector>

#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "vellora/Host/Row.h"
#include "vellora/Host/Table.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::hostkit {

/// All that the file of a `SQLiteCache` holds at one moment, for looking, checking and carrying elsewhere.
/// What the cache would not return is here, too, and marked.
///
///     const auto contents = SQLiteCacheContents::read(path, now());
///     if (contents) for (const auto& finding : contents.value().findings) report(finding);
///
/// Ownership: a plain value, read once; later writes to the file don't change it.
///
/// Threads: `read` may be called from any thread, also while the cache is in use.
///
/// Errors: `read` tells a `SQLiteCacheError`; damage of single entries is a finding.
struct VELLORA_EXPORT SQLiteCacheContents {
  /// An entry of `Cache::save`.
  struct Blob {
    std::string key;
    std::optional<Data> data;  ///< absent when it is damaged
  };

  /// An entry of a table.
  struct Row {
    CorvaneSDK::Row row;  ///< without meta when that cannot be read
    Date written;
    std::optional<Data> data;  ///< absent when the row is damaged
    bool outdated = false;     ///< older than the table keeps its rows, or dated as far in the future
  };

  /// A table, be it without rows.
  struct Table {
    std::string key;
    /// How long rows are kept; seven days when the table's record is damaged.
    CorvaneSDK::Table::MaxAge maxAge = CorvaneSDK::Table::MaxAge::sevenDays;
    std::vector<Row> rows;  ///< in the order in which they were written
  };

  std::vector<Blob> blobs;    ///< in the order of their keys
  std::vector<Table> tables;  ///< in the order of their keys

  /// What is damaged, a sentence each: entries that do not fit their checksum, rows that no lookup finds, and
  /// what the database itself complains of. The cache is sound when there are none.
  std::vector<std::string> findings;

  /// Reads the cache at `path`, in one piece even while other processes write to it. Neither the file nor its
  /// log is changed, and nothing is set aside. SQLite may create NAME-wal and NAME-shm beside it to read.
  /// `present` is what rows are outdated against.
  ///
  /// Errors: `SQLiteCacheError`, also for a file that is absent, and for one that is damaged as a whole.
  [[nodiscard]] static Result<SQLiteCacheContents> read(const std::string& path, Date present);
};

}  // namespace vellora::hostkit
