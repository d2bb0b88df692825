#include "hostkit/cache/redis/RedisCacheTable.h"

#include <cmath>
#include <utility>

#include "hostkit/cache/redis/RedisRows.h"
#include "hostkit/cache/rows/LiveSpan.h"

namespace vellora::hostkit {

using redisRows::Content;

RedisCacheTable::RedisCacheTable(std::shared_ptr<RedisStore> store, CorvaneSDK::Table table)
    : store_(std::move(store)), table_(std::move(table)) {}

std::vector<Data> RedisCacheTable::load(const CorvaneSDK::Query& query) {
  std::vector<Data> blobs;
  for (const auto& stored : rowsFor(query, Content::whole)) blobs.push_back(stored->data);
  return blobs;
}

std::vector<CorvaneSDK::Row> RedisCacheTable::fetch(const CorvaneSDK::Query& query) {
  std::vector<CorvaneSDK::Row> rows;
  for (const auto& stored : rowsFor(query, Content::withoutData)) rows.push_back(stored->row);
  return rows;
}

/// The filter is asked between two commands. A row that is rewritten in between stays.
bool RedisCacheTable::purge(const CorvaneSDK::RowFilter& rowsInFilter) {
  auto doomed = redisRows::readHeads(*store_, table_.key(), rowsInFilter);
  if (!doomed) return false;
  // A row that cannot be read is of no use to anyone.
  std::erase_if(*doomed, [&rowsInFilter](const auto& head) { return head.row && !rowsInFilter(*head.row); });
  return doomed->empty() || redisRows::remove(*store_, table_.key(), *doomed);
}

bool RedisCacheTable::upsert(const CorvaneSDK::CacheEntry& entry) {
  const Date written = store_->date();
  if (std::isnan(written.secondsSinceReferenceDate())) return false;
  return redisRows::write(*store_, table_, entry, written);
}

StoredRows RedisCacheTable::rowsFor(const CorvaneSDK::Query& query, Content content) {
  if (selectsNothing(query)) return {};
  const LiveSpan live(store_->date(), table_.maxAge());
  auto rows = redisRows::read(*store_, table_.key(), query.filter() ? &*query.filter() : nullptr, content);
  if (!rows) return {};
  std::erase_if(*rows, [&live](const auto& stored) { return !live.contains(stored->written); });
  return selectedRows(*std::move(rows), query);
}

}  // namespace vellora::hostkit
