#pragma once

#include <functional>
#include <string>
#include <vector>

#include "hostkit/cache/redis/RedisStore.h"

namespace vellora::hostkit::redisNames {

/// Hands `act` the names of all keys of the store's cache, and of no other, some at a time; a name may come
/// twice, and one that is written meanwhile may not come. False when they cannot be read, or once `act` gives
/// false.
[[nodiscard]] bool each(RedisStore& store, RedisStore::Access access,
                        const std::function<bool(std::vector<std::string>)>& act);

}  // namespace vellora::hostkit::redisNames
