#include "hostkit/cache/memory/MemoryCache.h"

#include <utility>

#include "hostkit/cache/memory/MemoryCacheTable.h"

namespace vellora::hostkit {

MemoryCache::MemoryCache(std::function<Date()> clock) : clock_(std::move(clock)) {}

MemoryCache::~MemoryCache() = default;

std::optional<Data> MemoryCache::load(const std::string& key) {
  const std::lock_guard lock(mutex_);
  const auto found = blobs_.find(key);
  return found == blobs_.end() ? std::nullopt : std::optional(found->second);
}

bool MemoryCache::save(const Data& data, const std::string& key) {
  const std::lock_guard lock(mutex_);
  blobs_.insert_or_assign(key, data);
  return true;
}

bool MemoryCache::remove(const std::string& key) {
  const std::lock_guard lock(mutex_);
  blobs_.erase(key);
  return true;
}

std::shared_ptr<CorvaneSDK::CacheTable> MemoryCache::openTable(const std::string& tableKey) {
  const std::lock_guard lock(mutex_);
  const auto found = tables_.find(tableKey);
  return found == tables_.end() ? nullptr : found->second;
}

std::shared_ptr<CorvaneSDK::CacheTable> MemoryCache::createTable(const CorvaneSDK::Table& table) {
  const std::lock_guard lock(mutex_);
  auto& slot = tables_[table.key()];
  if (!slot) slot = std::make_shared<MemoryCacheTable>(table.maxAge(), clock_);
  return slot;
}

}  // namespace vellora::hostkit
