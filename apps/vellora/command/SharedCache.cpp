#include "apps/vellora/command/SharedCache.h"

#include <utility>

#include "hostkit/cache/redis/RedisCache.h"
#include "hostkit/cache/redis/RedisCacheContents.h"
#include "hostkit/cache/redis/RedisCacheFailure.h"

namespace vellora::command {

namespace {

using hostkit::RedisCache;
using hostkit::RedisCacheContents;
using hostkit::SQLiteCacheContents;

// A person looks again after some seconds; all calls of one question come within less.
constexpr std::chrono::seconds pause{5};

SQLiteCacheContents::Table asFileHasIt(RedisCacheContents::Table table) {
  SQLiteCacheContents::Table same{std::move(table.key), table.maxAge, {}};
  for (auto& row : table.rows)
    same.rows.push_back({std::move(row.row), row.written, std::move(row.data), row.outdated});
  return same;
}

/// The same in the form that a cache file is read in.
SQLiteCacheContents asFileHasIt(RedisCacheContents contents) {
  SQLiteCacheContents same;
  for (auto& blob : contents.blobs) same.blobs.push_back({std::move(blob.key), std::move(blob.data)});
  for (auto& table : contents.tables) same.tables.push_back(asFileHasIt(std::move(table)));
  same.findings = std::move(contents.findings);
  return same;
}

class CacheInRedis final : public SharedCache {
 public:
  explicit CacheInRedis(std::shared_ptr<RedisCache> cache) : cache_(std::move(cache)) {}

  [[nodiscard]] std::shared_ptr<CorvaneSDK::Cache> cache() const override { return cache_; }
  [[nodiscard]] std::optional<SQLiteCacheContents> contents() const override {
    auto contents = cache_->contents();
    return contents ? std::optional(asFileHasIt(*std::move(contents))) : std::nullopt;
  }
  [[nodiscard]] bool clear() const override { return cache_->clear(); }

 private:
  const std::shared_ptr<RedisCache> cache_;
};

}  // namespace

OpenedSharedCache openSharedCache(SharedCache::Options options) {
  RedisCache::Options own{.timeout = options.timeout,
                          .firstPause = pause,
                          .longestPause = pause,
                          .user = std::move(options.user),
                          .password = std::move(options.password),
                          .caFile = std::move(options.caFile),
                          .owner = std::move(options.owner)};
  own.observer = [told = std::move(options.told)](const hostkit::RedisCacheFailure& failure) {
    told(failure.error.localizedDescription());
  };
  auto cache = RedisCache::open(options.address, std::move(own));
  if (cache) return std::make_shared<CacheInRedis>(std::move(cache).value());
  return Problem{ExitCode::usage, cache.error().localizedDescription() +
                                      " The password goes into a file: --cache-password-file FILE."};
}

}  // namespace vellora::command
