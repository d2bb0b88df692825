#include "hostkit/cache/redis/RedisTables.h"

#include <cstdint>

#include "hostkit/cache/rows/Checksum.h"
#include "hostkit/cache/rows/LiveSpan.h"

namespace vellora::hostkit::redisTables {

using CorvaneSDK::Table;
using Access = RedisStore::Access;

namespace {

std::int64_t ageOf(const Table& table) {
  return static_cast<std::int64_t>(seconds(table.maxAge()));
}

/// In seconds: as long as what names its rows.
std::string keptFor(const Table& table) {
  return std::to_string(ageOf(table) + 2);
}

}  // namespace

std::string record(const Table& table) {
  const std::int64_t age = ageOf(table);
  const auto checksum = Checksum().add("table").add(table.key()).add(age).value();
  return std::to_string(age) + ":" + std::to_string(checksum);
}

std::optional<Table> find(RedisStore& store, const std::string& tableKey) {
  const auto reply = store.ask({"GET", store.keys().table(tableKey)}, Access::reading);
  const auto table = Table::emptyWithKey(tableKey, Table::MaxAge::sevenDays);
  return reply && reply->text == record(table) ? std::optional(table) : std::nullopt;
}

void write(RedisStore& store, const Table& table) {
  (void)store.ask({"SET", store.keys().table(table.key()), record(table), "EX", keptFor(table)},
                  Access::writing);
}

}  // namespace vellora::hostkit::redisTables
