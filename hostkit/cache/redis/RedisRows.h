#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/cache/redis/RedisStore.h"
#include "hostkit/cache/rows/StoredRow.h"
#include "vellora/Host/CacheEntry.h"
#include "vellora/Host/Query.h"
#include "vellora/Host/Row.h"
#include "vellora/Host/Table.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::hostkit {

/// The rows of a table in a Redis, each call one command. A call that fails has told the observer.
namespace redisRows {

/// What is known of a row without its data.
struct Head {
  std::string dataKey;
  std::string number;                  ///< as the server writes it
  std::optional<CorvaneSDK::Row> row;  ///< absent when its meta cannot be read
};

/// What is read of rows.
enum class Content { whole, withoutData };

/// The rows that may match `filter`, all when that is null: undamaged, of any age, the one that was written
/// first comes first. Pairs are looked up in their sets, a data key by itself; any other filter is for the
/// caller to apply, who has every row. Without data, none of it travels, and a row whose data is damaged is
/// not there either. Absent when they cannot be read.
[[nodiscard]] std::optional<StoredRows> read(RedisStore& store, const std::string& tableKey,
                                             const CorvaneSDK::RowFilter* filter,
                                             Content content = Content::whole);

/// A row, be it damaged.
struct Found {
  std::string dataKey;
  std::shared_ptr<const StoredRow> stored;  ///< null when it is damaged
};

/// Every row, the one that was written first comes first. Absent when they cannot be read.
[[nodiscard]] std::optional<std::vector<Found>> readAll(RedisStore& store, const std::string& tableKey);

/// The heads of the rows that may match `filter`, and of those that expired or are damaged.
[[nodiscard]] std::optional<std::vector<Head>> readHeads(RedisStore& store, const std::string& tableKey,
                                                         const CorvaneSDK::RowFilter& filter);

/// Stores a row, and that there is its table. True when it is stored.
[[nodiscard]] bool write(RedisStore& store, const CorvaneSDK::Table& table,
                         const CorvaneSDK::CacheEntry& entry, Date written);

/// Deletes those of the rows that were not written again. True when none of them is left.
[[nodiscard]] bool remove(RedisStore& store, const std::string& tableKey, const std::vector<Head>& heads);

}  // namespace redisRows

}  // namespace vellora::hostkit
