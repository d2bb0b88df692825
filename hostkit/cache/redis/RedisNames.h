#pragma once

#include <functional>
#include <string>
#include <vector>

#include "hostkit/cache/redis/RedisStore.h"

namespace vellora::hostkit::redisNames {

/// Hands `act` the names of all keys of the store's cache, and of no other, some at a time; a name may come
/// twice, and one that is written meanwhile may not come. Begins anew when the connection becomes another
/// meanwhile, also by what `act` asks. False when the names cannot be read, when that never ends, or once
/// `act` gives false.
[[nodiscard]] bool each(RedisStore& store, RedisStore::Access access,
                        const std::function<bool(std::vector<std::string>)>& act);

}  // namespace vellora::hostkit::redisNames
