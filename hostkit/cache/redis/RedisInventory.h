#pragma once

#include <optional>

#include "hostkit/cache/redis/RedisCacheContents.h"
#include "hostkit/cache/redis/RedisStore.h"

namespace vellora::hostkit::redisInventory {

/// All that the store's cache holds; absent when it cannot be read, of which the observer was told.
[[nodiscard]] std::optional<RedisCacheContents> read(RedisStore& store);

}  // namespace vellora::hostkit::redisInventory
