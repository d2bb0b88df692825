#pragma once

#include <memory>
#include <vector>

#include "hostkit/cache/redis/RedisRows.h"
#include "hostkit/cache/redis/RedisStore.h"
#include "hostkit/cache/rows/StoredRow.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Host/Table.h"

namespace vellora::hostkit {

/// A table of a `RedisCache`.
///
/// Ownership: shares the cache's connection.
///
/// Threads: the connection synchronises; filters and the clock are called while nobody has its turn.
class RedisCacheTable final : public CorvaneSDK::CacheTable {
 public:
  RedisCacheTable(std::shared_ptr<RedisStore> store, CorvaneSDK::Table table);

  [[nodiscard]] std::vector<Data> load(const CorvaneSDK::Query& query) override;
  [[nodiscard]] std::vector<CorvaneSDK::Row> fetch(const CorvaneSDK::Query& query) override;
  bool purge(const CorvaneSDK::RowFilter& rowsInFilter) override;
  bool upsert(const CorvaneSDK::CacheEntry& entry) override;

 private:
  [[nodiscard]] StoredRows rowsFor(const CorvaneSDK::Query& query, redisRows::Content content);

  const std::shared_ptr<RedisStore> store_;
  const CorvaneSDK::Table table_;
};

}  // namespace vellora::hostkit
