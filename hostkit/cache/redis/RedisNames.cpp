#include "hostkit/cache/redis/RedisNames.h"

#include <string_view>
#include <utility>

#include "hostkit/cache/redis/RedisReply.h"

namespace vellora::hostkit::redisNames {

namespace {

/// A pattern that matches what begins with `prefix`, whatever characters stand in it.
std::string patternFor(std::string_view prefix) {
  std::string pattern;
  for (const char character : prefix) {
    if (std::string_view("*?[]\\^-").find(character) != std::string_view::npos) pattern += '\\';
    pattern += character;
  }
  return pattern + "*";
}

std::vector<std::string> textsIn(RedisReply list) {
  std::vector<std::string> texts;
  for (RedisReply& item : list.items) texts.push_back(std::move(item.text));
  return texts;
}

}  // namespace

bool each(RedisStore& store, RedisStore::Access access,
          const std::function<bool(std::vector<std::string>)>& act) {
  const std::string pattern = patternFor(store.keys().prefix);
  std::string cursor = "0";
  do {
    auto page = store.ask({"SCAN", cursor, "MATCH", pattern, "COUNT", "1000"}, access);
    if (!page || page->items.size() != 2) return false;
    cursor = page->items[0].text;
    if (!act(textsIn(std::move(page->items[1])))) return false;
  } while (cursor != "0");
  return true;
}

}  // namespace vellora::hostkit::redisNames
