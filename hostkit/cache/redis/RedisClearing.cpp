#include "hostkit/cache/redis/RedisClearing.h"

#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/cache/redis/RedisNames.h"
#include "hostkit/cache/redis/RedisReply.h"

namespace vellora::hostkit::redisClearing {

namespace {

using Access = RedisStore::Access;

/// Deletes the keys of those names.
bool unlink(RedisStore& store, std::vector<std::string> names) {
  if (names.empty()) return true;
  RedisCommand command{"UNLINK"};
  command.insert(command.end(), std::make_move_iterator(names.begin()), std::make_move_iterator(names.end()));
  return store.ask(command, Access::writing).has_value();
}

}  // namespace

bool clear(RedisStore& store) {
  return redisNames::each(store, Access::writing, [&store](std::vector<std::string> names) {
    return unlink(store, std::move(names));
  });
}

}  // namespace vellora::hostkit::redisClearing
