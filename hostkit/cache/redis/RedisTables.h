#pragma once

#include <optional>
#include <string>

#include "hostkit/cache/redis/RedisStore.h"
#include "vellora/Host/Table.h"

namespace vellora::hostkit {

/// The records of which tables there are.
namespace redisTables {

/// What tells that there is that table, and how long it keeps its rows.
[[nodiscard]] std::string record(const CorvaneSDK::Table& table);

/// The table of that key; absent when there is none, or its record is damaged or cannot be read.
[[nodiscard]] std::optional<CorvaneSDK::Table> find(RedisStore& store, const std::string& tableKey);

/// Records that there is such a table, for as long as it keeps rows that are written now.
void write(RedisStore& store, const CorvaneSDK::Table& table);

}  // namespace redisTables

}  // namespace vellora::hostkit
