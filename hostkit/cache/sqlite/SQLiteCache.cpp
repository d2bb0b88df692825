#include "hostkit/cache/sqlite/SQLiteCache.h"

#include <utility>

#include "hostkit/cache/sqlite/CacheFileDeletion.h"
#include "hostkit/cache/sqlite/CachePath.h"
#include "hostkit/cache/sqlite/SQLiteBlobs.h"
#include "hostkit/cache/sqlite/SQLiteCacheFile.h"
#include "hostkit/cache/sqlite/SQLiteCacheTable.h"
#include "hostkit/cache/sqlite/SQLiteDatabase.h"
#include "hostkit/cache/sqlite/SQLiteStore.h"
#include "hostkit/cache/sqlite/SQLiteTransaction.h"

namespace vellora::hostkit {

Result<std::shared_ptr<SQLiteCache>> SQLiteCache::open(const std::string& path, Options options) {
  const auto resolved = cachePath::resolved(path);
  if (!resolved) return resolved.error();
  auto database = sqliteCacheFile::open(resolved.value(), options.busyTimeout);
  if (!database) return database.error();
  auto store = std::make_shared<SQLiteStore>(std::move(database).value(), resolved.value(),
                                             options.busyTimeout, std::move(options.clock),
                                             std::move(options.owner), std::move(options.observer));
  if (auto refused = store->claim()) return *std::move(refused);
  return std::shared_ptr<SQLiteCache>(new SQLiteCache(std::move(store)));
}

Result<std::shared_ptr<SQLiteCache>> SQLiteCache::open(const std::string& path) {
  return open(path, Options());
}

std::optional<Error> SQLiteCache::destroy(const std::string& path) {
  const auto resolved = cachePath::resolved(path);
  if (!resolved) return resolved.error();
  return deleteCacheFile(resolved.value(), Options().busyTimeout);
}

SQLiteCache::SQLiteCache(std::shared_ptr<SQLiteStore> store) : store_(std::move(store)) {}

SQLiteCache::~SQLiteCache() = default;

std::optional<Data> SQLiteCache::load(const std::string& key) {
  std::optional<Data> found;
  store_->perform([&key, &found](SQLiteDatabase& database) { found = sqliteBlobs::read(database, key); },
                  SQLiteStore::Access::reading);
  return found;
}

bool SQLiteCache::save(const Data& data, const std::string& key) {
  return store_->perform([&key, &data](SQLiteDatabase& database) {
    SQLiteTransaction transaction(database, SQLiteTransaction::Kind::writing);
    sqliteBlobs::write(database, key, data);
    transaction.commit();
  });
}

bool SQLiteCache::remove(const std::string& key) {
  return store_->perform([&key](SQLiteDatabase& database) { sqliteBlobs::remove(database, key); });
}

std::shared_ptr<CorvaneSDK::CacheTable> SQLiteCache::openTable(const std::string& tableKey) {
  return SQLiteCacheTable::open(store_, tableKey);
}

std::shared_ptr<CorvaneSDK::CacheTable> SQLiteCache::createTable(const CorvaneSDK::Table& table) {
  return SQLiteCacheTable::create(store_, table);
}

void SQLiteCache::releaseMemory() {
  store_->releaseMemory();
}

}  // namespace vellora::hostkit
