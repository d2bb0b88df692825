#include "hostkit/cache/redis/RedisClearing.h"

#include <string>
#include <string_view>
#include <utility>

#include "hostkit/cache/redis/RedisReply.h"

namespace vellora::hostkit::redisClearing {

namespace {

using Access = RedisStore::Access;

/// A pattern that matches what begins with `prefix`, whatever characters stand in it.
std::string patternFor(std::string_view prefix) {
  std::string pattern;
  for (const char character : prefix) {
    if (std::string_view("*?[]\\^-").find(character) != std::string_view::npos) pattern += '\\';
    pattern += character;
  }
  return pattern + "*";
}

/// Deletes the keys that a list names.
bool unlink(RedisStore& store, RedisReply names) {
  if (names.items.empty()) return true;
  RedisCommand command{"UNLINK"};
  for (RedisReply& name : names.items) command.push_back(std::move(name.text));
  return store.ask(command, Access::writing).has_value();
}

}  // namespace

bool clear(RedisStore& store) {
  const std::string pattern = patternFor(store.keys().prefix);
  std::string cursor = "0";
  do {
    auto page = store.ask({"SCAN", cursor, "MATCH", pattern, "COUNT", "1000"}, Access::writing);
    if (!page || page->items.size() != 2) return false;
    cursor = page->items[0].text;
    if (!unlink(store, std::move(page->items[1]))) return false;
  } while (cursor != "0");
  return true;
}

}  // namespace vellora::hostkit::redisClearing
