#include "hostkit/SQLiteCache.h"

#include <cstdint>
#include <string_view>
#include <utility>

#include "hostkit/Checksum.h"
#include "hostkit/SQLiteCacheFile.h"
#include "hostkit/SQLiteCacheTable.h"
#include "hostkit/SQLiteDatabase.h"
#include "hostkit/SQLiteStore.h"

namespace vellora::hostkit {

namespace {

using Kind = SQLiteTransaction::Kind;

std::int64_t checksum(std::string_view key, std::int64_t generation, std::string_view data) {
  return Checksum().add("blob").add(key).add(generation).add(data).value();
}

std::int64_t nextGeneration(SQLiteDatabase& database) {
  SQLiteStatement next = database.statement(
      "SELECT max(coalesce((SELECT seq FROM sqlite_sequence WHERE name = 'vellora_blob'), 0),"
      " coalesce((SELECT max(generation) FROM vellora_blob), 0)) + 1");
  return next.step() ? next.integer(0) : 0;
}

std::optional<std::int64_t> generationOf(SQLiteDatabase& database, const std::string& key) {
  SQLiteStatement found = database.statement("SELECT generation FROM vellora_blob WHERE name = ?");
  return found.bind(key).step() ? std::optional(found.integer(0)) : std::nullopt;
}

void removeBlob(SQLiteDatabase& database, const std::string& key) {
  database.statement("DELETE FROM vellora_blob WHERE name = ?").bind(key).step();
}

}  // namespace

Result<std::shared_ptr<SQLiteCache>> SQLiteCache::open(const std::string& path, Options options) {
  const std::string resolved = sqliteCacheFile::resolvedPath(path);
  auto database = sqliteCacheFile::open(resolved, options.busyTimeout);
  if (!database) return database.error();
  auto store = std::make_shared<SQLiteStore>(std::move(database).value(), resolved, options.busyTimeout,
                                             std::move(options.clock));
  return std::shared_ptr<SQLiteCache>(new SQLiteCache(std::move(store)));
}

Result<std::shared_ptr<SQLiteCache>> SQLiteCache::open(const std::string& path) {
  return open(path, Options());
}

SQLiteCache::SQLiteCache(std::shared_ptr<SQLiteStore> store) : store_(std::move(store)) {}

SQLiteCache::~SQLiteCache() = default;

std::optional<Data> SQLiteCache::load(const std::string& key) {
  std::optional<Data> found;
  store_->perform([&key, &found](SQLiteDatabase& database) {
    found.reset();
    SQLiteStatement blob =
        database.statement("SELECT generation, checksum, data FROM vellora_blob WHERE name = ?");
    if (!blob.bind(key).step()) return;
    const std::string_view bytes = blob.bytes(2);
    if (checksum(key, blob.integer(0), bytes) == blob.integer(1)) found = Data(bytes.data(), bytes.size());
  });
  return found;
}

bool SQLiteCache::save(const Data& data, const std::string& key) {
  return store_->perform([&key, &data](SQLiteDatabase& database) {
    SQLiteTransaction transaction(database, Kind::writing);
    removeBlob(database, key);
    const std::int64_t generation = nextGeneration(database);
    database.statement("INSERT INTO vellora_blob(generation, name, checksum, data) VALUES(?, ?, ?, ?)")
        .bind(generation)
        .bind(key)
        .bind(checksum(key, generation, data.view()))
        .bind(data.view())
        .step();
    if (generationOf(database, key) != generation) database.noteDamage();
    transaction.commit();
  });
}

bool SQLiteCache::remove(const std::string& key) {
  return store_->perform([&key](SQLiteDatabase& database) { removeBlob(database, key); });
}

std::shared_ptr<CorvaneSDK::CacheTable> SQLiteCache::openTable(const std::string& tableKey) {
  return SQLiteCacheTable::open(store_, tableKey);
}

std::shared_ptr<CorvaneSDK::CacheTable> SQLiteCache::createTable(const CorvaneSDK::Table& table) {
  return SQLiteCacheTable::create(store_, table);
}

}  // namespace vellora::hostkit
