#pragma once

#include "hostkit/cache/redis/RedisStore.h"

namespace vellora::hostkit::redisClearing {

/// Deletes every key of the store's cache, and no other. True when none was left.
[[nodiscard]] bool clear(RedisStore& store);

}  // namespace vellora::hostkit::redisClearing
