#include "hostkit/cache/redis/RedisNames.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "hostkit/cache/redis/RedisReply.h"

namespace vellora::hostkit::redisNames {

namespace {

constexpr int mostAttempts = 10;

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

using Act = std::function<bool(std::vector<std::string>)>;

enum class Outcome { whole, failed, interrupted };

/// A cursor is of use to the process alone that gave it. Another connection may lead to another one, or to
/// the same one with all that it had before.
Outcome scan(RedisStore& store, RedisStore::Access access, const Act& act) {
  const std::string pattern = patternFor(store.keys().prefix);
  std::optional<std::uint64_t> connection;
  std::string cursor = "0";
  do {
    auto page = store.ask({"SCAN", cursor, "MATCH", pattern, "COUNT", "1000"}, access);
    if (!page || page->items.size() != 2) return Outcome::failed;
    if (page->connection != connection.value_or(page->connection)) return Outcome::interrupted;
    connection = page->connection;
    cursor = page->items[0].text;
    if (!act(textsIn(std::move(page->items[1])))) return Outcome::failed;
    if (store.connections() != connection) return Outcome::interrupted;
  } while (cursor != "0");
  return Outcome::whole;
}

}  // namespace

bool each(RedisStore& store, RedisStore::Access access, const Act& act) {
  for (int attempt = 0; attempt < mostAttempts; ++attempt) {
    const Outcome outcome = scan(store, access, act);
    if (outcome != Outcome::interrupted) return outcome == Outcome::whole;
  }
  store.fail(access, "the connection was lost again and again");
  return false;
}

}  // namespace vellora::hostkit::redisNames
