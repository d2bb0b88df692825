#include "testkit/FaultyCacheTable.h"

#include <utility>

namespace vellora::testkit {

using CorvaneSDK::CacheEntry;
using CorvaneSDK::Meta;
using CorvaneSDK::Query;
using CorvaneSDK::Row;
using CorvaneSDK::RowFilter;
using Operation = HostCall::Operation;

namespace {

std::string subjectOf(std::string tableKey, const Meta& meta) {
  for (const auto& [name, value] : meta) tableKey.append(" ").append(name).append("=").append(value);
  return tableKey;
}

std::string subjectOf(std::string tableKey, const RowFilter& filter) {
  return filter.metaPairs() ? subjectOf(std::move(tableKey), *filter.metaPairs()) : tableKey;
}

std::string subjectOf(std::string tableKey, const Query& query) {
  return query.filter() ? subjectOf(std::move(tableKey), *query.filter()) : tableKey;
}

}  // namespace

FaultyCacheTable::FaultyCacheTable(std::shared_ptr<CorvaneSDK::CacheTable> next,
                                   std::shared_ptr<HostFaults> faults, std::string tableKey)
    : ForwardingCacheTable(std::move(next)), faults_(std::move(faults)), tableKey_(std::move(tableKey)) {}

FaultyCacheTable::~FaultyCacheTable() = default;

std::vector<Data> FaultyCacheTable::load(const Query& query) {
  const HostCall call{Operation::tableLoad, subjectOf(tableKey_, query)};
  const auto fault = faults_->next(call);
  if (!fault) return next().load(query);
  std::vector<Data> wrong;
  for (const Data& right : next().load(query)) {
    if (auto data = faults_->substituted(*fault, call, right)) wrong.push_back(*std::move(data));
  }
  return wrong;
}

std::vector<Row> FaultyCacheTable::fetch(const Query& query) {
  if (faults_->next({Operation::tableFetch, subjectOf(tableKey_, query)})) return {};
  return next().fetch(query);
}

bool FaultyCacheTable::purge(const RowFilter& rowsInFilter) {
  if (faults_->next({Operation::tablePurge, subjectOf(tableKey_, rowsInFilter)})) return false;
  return next().purge(rowsInFilter);
}

bool FaultyCacheTable::upsert(const CacheEntry& entry) {
  if (faults_->next({Operation::tableUpsert, subjectOf(tableKey_, entry.meta)})) return false;
  return next().upsert(entry);
}

}  // namespace vellora::testkit
