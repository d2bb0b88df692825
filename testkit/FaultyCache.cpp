#include "testkit/FaultyCache.h"

#include <utility>

#include "testkit/FaultyCacheTable.h"

namespace vellora::testkit {

using CorvaneSDK::CacheTable;
using Operation = HostCall::Operation;

FaultyCache::FaultyCache(std::shared_ptr<CorvaneSDK::Cache> next, std::shared_ptr<HostFaults> faults)
    : ForwardingCache(std::move(next)), faults_(std::move(faults)) {}

FaultyCache::~FaultyCache() = default;

std::optional<Data> FaultyCache::load(const std::string& key) {
  const HostCall call{Operation::load, key};
  const auto fault = faults_->next(call);
  if (fault == HostFault::missing) return std::nullopt;
  const auto right = next().load(key);
  return fault && right ? faults_->substituted(*fault, call, *right) : right;
}

bool FaultyCache::save(const Data& data, const std::string& key) {
  return !faults_->next({Operation::save, key}) && next().save(data, key);
}

bool FaultyCache::remove(const std::string& key) {
  return !faults_->next({Operation::remove, key}) && next().remove(key);
}

std::shared_ptr<CacheTable> FaultyCache::openTable(const std::string& tableKey) {
  if (faults_->next({Operation::openTable, tableKey})) return nullptr;
  return ForwardingCache::openTable(tableKey);
}

std::shared_ptr<CacheTable> FaultyCache::createTable(const CorvaneSDK::Table& table) {
  if (faults_->next({Operation::createTable, table.key()})) {
    return std::make_shared<FaultyCacheTable>(faults_, table.key());
  }
  return ForwardingCache::createTable(table);
}

std::shared_ptr<CacheTable> FaultyCache::wrapTable(std::shared_ptr<CacheTable> table,
                                                   const std::string& tableKey) {
  return std::make_shared<FaultyCacheTable>(std::move(table), faults_, tableKey);
}

}  // namespace vellora::testkit
