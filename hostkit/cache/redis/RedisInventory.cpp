#include "hostkit/cache/redis/RedisInventory.h"

#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hostkit/cache/redis/RedisBlobs.h"
#include "hostkit/cache/redis/RedisNames.h"
#include "hostkit/cache/redis/RedisReply.h"
#include "hostkit/cache/redis/RedisRows.h"
#include "hostkit/cache/redis/RedisTables.h"
#include "hostkit/cache/rows/LiveSpan.h"

namespace vellora::hostkit::redisInventory {

namespace {

using Access = RedisStore::Access;

/// What there is to read, sorted.
struct Names {
  std::set<std::string> blobs;
  std::set<std::string> tables;
};

/// Puts what follows `prefix` in `name` among `found`.
void noteBehind(const std::string& prefix, const std::string& name, std::set<std::string>& found) {
  if (name.starts_with(prefix)) found.insert(name.substr(prefix.size()));
}

std::optional<Names> namesIn(RedisStore& store) {
  const RedisKeys& keys = store.keys();
  Names found;
  const bool isWhole = redisNames::each(store, Access::reading, [&](const std::vector<std::string>& names) {
    for (const std::string& name : names) {
      noteBehind(keys.blob(""), name, found.blobs);
      noteBehind(keys.table(""), name, found.tables);
      noteBehind(keys.order(""), name, found.tables);  // also where the table's record is gone
    }
    return true;
  });
  return isWhole ? std::optional(std::move(found)) : std::nullopt;
}

bool readBlob(RedisStore& store, const std::string& key, RedisCacheContents& contents) {
  const auto reply = store.ask({"GET", store.keys().blob(key)}, Access::reading);
  if (!reply) return false;
  if (reply->kind == RedisReply::Kind::nothing) return true;  // deleted meanwhile
  auto data = redisBlobs::unsealed(key, reply->text);
  if (!data) contents.findings.push_back("blob \"" + key + "\" does not fit its checksum");
  contents.blobs.push_back({key, std::move(data)});
  return true;
}

RedisCacheContents::Row rowOf(const redisRows::Found& found, const LiveSpan& live) {
  if (!found.stored) return {.row = {{}, found.dataKey}, .written = {}, .data = std::nullopt};
  const StoredRow& stored = *found.stored;
  return {stored.row, stored.written, stored.data, !live.contains(stored.written)};
}

bool readTable(RedisStore& store, const std::string& key, RedisCacheContents& contents) {
  const auto rows = redisRows::readAll(store, key);
  const auto record = store.ask({"GET", store.keys().table(key)}, Access::reading);
  if (!rows || !record) return false;
  RedisCacheContents::Table table{.key = key, .rows = {}};
  if (record->text != redisTables::record(CorvaneSDK::Table::emptyWithKey(key, table.maxAge)))
    contents.findings.push_back("the record of table \"" + key + "\" does not fit its checksum");
  const LiveSpan live(store.date(), table.maxAge);
  for (const redisRows::Found& found : *rows) {
    if (!found.stored) {
      contents.findings.push_back("row \"" + found.dataKey + "\" of table \"" + key +
                                  "\" does not fit its checksum");
    }
    table.rows.push_back(rowOf(found, live));
  }
  contents.tables.push_back(std::move(table));
  return true;
}

}  // namespace

std::optional<RedisCacheContents> read(RedisStore& store) {
  const auto names = namesIn(store);
  if (!names) return std::nullopt;
  RedisCacheContents contents;
  for (const std::string& key : names->blobs) {
    if (!readBlob(store, key, contents)) return std::nullopt;
  }
  for (const std::string& key : names->tables) {
    if (!readTable(store, key, contents)) return std::nullopt;
  }
  return contents;
}

}  // namespace vellora::hostkit::redisInventory
