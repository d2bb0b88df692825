#include "testkit/FaultyCacheTable.h"

#include <utility>

namespace vellora::testkit {

using CorvaneSDK::CacheEntry;
using CorvaneSDK::CacheTable;
using CorvaneSDK::Meta;
using CorvaneSDK::Query;
using CorvaneSDK::Row;
using CorvaneSDK::RowFilter;
using Operation = HostCall::Operation;

namespace {

Meta pairsOf(const RowFilter& filter) {
  return filter.metaPairs() ? *filter.metaPairs() : Meta{};
}

Meta pairsOf(const Query& query) {
  return query.filter() ? pairsOf(*query.filter()) : Meta{};
}

class EmptyTable final : public CacheTable {
 public:
  std::vector<Data> load(const Query&) override { return {}; }
  std::vector<Row> fetch(const Query&) override { return {}; }
  bool purge(const RowFilter&) override { return false; }
  bool upsert(const CacheEntry&) override { return false; }
};

}  // namespace

FaultyCacheTable::FaultyCacheTable(std::shared_ptr<CacheTable> next, std::shared_ptr<HostFaults> faults,
                                   std::string tableKey)
    : ForwardingCacheTable(std::move(next)),
      faults_(std::move(faults)),
      tableKey_(std::move(tableKey)),
      isCreated_(true) {}

FaultyCacheTable::FaultyCacheTable(std::shared_ptr<HostFaults> faults, std::string tableKey)
    : ForwardingCacheTable(std::make_shared<EmptyTable>()),
      faults_(std::move(faults)),
      tableKey_(std::move(tableKey)),
      isCreated_(false) {}

FaultyCacheTable::~FaultyCacheTable() = default;

HostCall FaultyCacheTable::callOf(Operation operation, Meta meta) const {
  return {operation, tableKey_, std::move(meta), !isCreated_};
}

std::vector<Data> FaultyCacheTable::load(const Query& query) {
  const HostCall call = callOf(Operation::tableLoad, pairsOf(query));
  const auto fault = faults_->next(call);
  if (!fault) return next().load(query);
  if (fault == HostFault::missing) return {};
  std::vector<Data> wrong;
  for (const Data& right : next().load(query)) {
    if (auto data = faults_->substituted(*fault, call, right)) wrong.push_back(*std::move(data));
  }
  return wrong;
}

std::vector<Row> FaultyCacheTable::fetch(const Query& query) {
  if (faults_->next(callOf(Operation::tableFetch, pairsOf(query)))) return {};
  return next().fetch(query);
}

bool FaultyCacheTable::purge(const RowFilter& rowsInFilter) {
  if (faults_->next(callOf(Operation::tablePurge, pairsOf(rowsInFilter)))) return false;
  return next().purge(rowsInFilter);
}

bool FaultyCacheTable::upsert(const CacheEntry& entry) {
  if (faults_->next(callOf(Operation::tableUpsert, entry.meta))) return false;
  return next().upsert(entry);
}

}  // namespace vellora::testkit
