#include "testkit/ForwardingCache.h"

#include <utility>

#include "vellora/Host/CacheTable.h"

namespace vellora::testkit {

using CorvaneSDK::CacheTable;

ForwardingCache::ForwardingCache(std::shared_ptr<CorvaneSDK::Cache> next) : next_(std::move(next)) {}

ForwardingCache::~ForwardingCache() = default;

std::optional<Data> ForwardingCache::load(const std::string& key) {
  return next().load(key);
}

bool ForwardingCache::save(const Data& data, const std::string& key) {
  return next().save(data, key);
}

bool ForwardingCache::remove(const std::string& key) {
  return next().remove(key);
}

std::shared_ptr<CacheTable> ForwardingCache::openTable(const std::string& tableKey) {
  std::shared_ptr<CacheTable> opened = next().openTable(tableKey);
  return opened ? wrapTable(std::move(opened), tableKey) : nullptr;
}

std::shared_ptr<CacheTable> ForwardingCache::createTable(const CorvaneSDK::Table& table) {
  return wrapTable(next().createTable(table), table.key());
}

void ForwardingCache::releaseMemory() {
  next().releaseMemory();
}

std::shared_ptr<CacheTable> ForwardingCache::wrapTable(std::shared_ptr<CacheTable> table,
                                                       const std::string&) {
  return table;
}

}  // namespace vellora::testkit
