#pragma once

#include <optional>
#include <string>
#include <vector>

#include "vellora/Host/Row.h"
#include "vellora/Host/Table.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::hostkit {

/// All that a `RedisCache` holds, for looking, checking and carrying elsewhere. What the cache would not
/// return is here, too, and marked.
///
///     const auto contents = cache->contents();
///     if (contents) for (const auto& finding : contents->findings) report(finding);
///
/// Ownership: a plain value, read once; later writes to the cache don't change it.
struct VELLORA_EXPORT RedisCacheContents {
  /// An entry of `Cache::save`.
  struct Blob {
    std::string key;
    std::optional<Data> data;  ///< absent when it is damaged
  };

  /// An entry of a table.
  struct Row {
    CorvaneSDK::Row row;  ///< without meta when the row is damaged
    Date written;
    std::optional<Data> data;  ///< absent when the row is damaged
    bool outdated = false;     ///< older than the table keeps its rows, or dated as far in the future
  };

  /// A table, be it without rows.
  struct Table {
    std::string key;
    CorvaneSDK::Table::MaxAge maxAge = CorvaneSDK::Table::MaxAge::sevenDays;  ///< how long rows are kept
    std::vector<Row> rows;  ///< in the order in which they were written
  };

  std::vector<Blob> blobs;    ///< in the order of their keys
  std::vector<Table> tables;  ///< in the order of their keys

  /// What is damaged, a sentence each: entries and records of tables that do not fit their checksum. The
  /// cache is sound when there are none.
  std::vector<std::string> findings;
};

}  // namespace vellora::hostkit
