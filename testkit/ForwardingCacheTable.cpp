#include "testkit/ForwardingCacheTable.h"

#include <utility>

namespace vellora::testkit {

ForwardingCacheTable::ForwardingCacheTable(std::shared_ptr<CorvaneSDK::CacheTable> next)
    : next_(std::move(next)) {}

ForwardingCacheTable::~ForwardingCacheTable() = default;

std::vector<Data> ForwardingCacheTable::load(const CorvaneSDK::Query& query) {
  return next().load(query);
}

std::vector<CorvaneSDK::Row> ForwardingCacheTable::fetch(const CorvaneSDK::Query& query) {
  return next().fetch(query);
}

bool ForwardingCacheTable::purge(const CorvaneSDK::RowFilter& rowsInFilter) {
  return next().purge(rowsInFilter);
}

bool ForwardingCacheTable::upsert(const CorvaneSDK::CacheEntry& entry) {
  return next().upsert(entry);
}

}  // namespace vellora::testkit
