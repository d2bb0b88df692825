#include "hostkit/cache/memory/MemoryCacheTable.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "hostkit/cache/rows/MetaCodec.h"

namespace vellora::hostkit {

std::size_t MemoryCacheTable::HashOfPair::operator()(const MetaPair& pair) const {
  const std::hash<std::string> hash;
  return hash(pair.first) * 31 + hash(pair.second);
}

MemoryCacheTable::MemoryCacheTable(CorvaneSDK::Table::MaxAge maxAge, std::function<Date()> clock)
    : maxAge_(maxAge), clock_(std::move(clock)) {}

std::vector<Data> MemoryCacheTable::load(const CorvaneSDK::Query& query) {
  std::vector<Data> blobs;
  for (const auto& stored : rowsFor(query)) blobs.push_back(stored->data);
  return blobs;
}

std::vector<CorvaneSDK::Row> MemoryCacheTable::fetch(const CorvaneSDK::Query& query) {
  std::vector<CorvaneSDK::Row> rows;
  for (const auto& stored : rowsFor(query)) rows.push_back(stored->row);
  return rows;
}

bool MemoryCacheTable::purge(const CorvaneSDK::RowFilter& rowsInFilter) {
  StoredRows doomed = candidates(&rowsInFilter);
  std::erase_if(doomed, [&rowsInFilter](const auto& stored) { return !rowsInFilter(stored->row); });

  const std::lock_guard lock(mutex_);
  for (const auto& stored : doomed) remove(stored->sequence);
  return true;
}

bool MemoryCacheTable::upsert(const CorvaneSDK::CacheEntry& entry) {
  auto stored = std::make_shared<StoredRow>();
  stored->row = {entry.meta, entry.dataKey ? *entry.dataKey : derivedDataKey(entry.meta)};
  stored->data = entry.data;
  stored->written = clock_();
  if (std::isnan(stored->written.secondsSinceReferenceDate())) return false;  // NaN has no place in byDate_

  const std::lock_guard lock(mutex_);
  removeRowsOutside(LiveSpan(stored->written, maxAge_));
  if (const auto found = byDataKey_.find(stored->row.dataKey); found != byDataKey_.end()) {
    remove(found->second->sequence);
  }
  stored->sequence = ++lastSequence_;
  add(std::move(stored));
  return true;
}

StoredRows MemoryCacheTable::rowsFor(const CorvaneSDK::Query& query) {
  if (selectsNothing(query)) return {};
  const LiveSpan live(clock_(), maxAge_);
  StoredRows rows = candidates(query.filter() ? &*query.filter() : nullptr);
  std::erase_if(rows, [&live](const auto& stored) { return !live.contains(stored->written); });
  return selectedRows(std::move(rows), query);
}

/// All rows that `filter` admits, and perhaps others: it is for the caller to apply the filter. Expired rows
/// are among them. The row that was written first comes first.
StoredRows MemoryCacheTable::candidates(const CorvaneSDK::RowFilter* filter) {
  StoredRows rows;
  const CorvaneSDK::Meta* pairs = filter != nullptr ? indexablePairs(*filter) : nullptr;
  const std::lock_guard lock(mutex_);
  if (const std::string* dataKey = filter != nullptr ? filter->dataKey() : nullptr) {
    if (const auto found = byDataKey_.find(*dataKey); found != byDataKey_.end())
      rows.push_back(found->second);
  } else if (pairs == nullptr) {
    rows.reserve(rows_.size());
    for (const auto& [sequence, stored] : rows_) rows.push_back(stored);
  } else if (const RowsByAge* some = smallestIndexEntry(*pairs)) {
    for (const auto& [sequence, stored] : *some) {
      if (holdsPairs(stored->row.meta, *pairs)) rows.push_back(stored);
    }
  }
  return rows;
}

/// The rows that hold the rarest of `pairs`; null when one of the pairs is in no row.
const MemoryCacheTable::RowsByAge* MemoryCacheTable::smallestIndexEntry(const CorvaneSDK::Meta& pairs) const {
  const RowsByAge* smallest = nullptr;
  for (const auto& pair : pairs) {
    const auto found = byMetaPair_.find(pair);
    if (found == byMetaPair_.end()) return nullptr;
    if (smallest == nullptr || found->second.size() < smallest->size()) smallest = &found->second;
  }
  return smallest;
}

void MemoryCacheTable::add(std::shared_ptr<const StoredRow> stored) {
  const Sequence sequence = stored->sequence;
  byDataKey_.insert_or_assign(stored->row.dataKey, stored);
  byDate_.emplace(stored->written, sequence);
  for (const auto& pair : stored->row.meta) byMetaPair_[pair].emplace(sequence, stored);
  rows_.emplace(sequence, std::move(stored));
}

/// Does nothing when the row has gone in the meantime.
void MemoryCacheTable::remove(Sequence sequence) {
  const auto found = rows_.find(sequence);
  if (found == rows_.end()) return;
  const auto kept = found->second;
  const StoredRow& stored = *kept;
  byDataKey_.erase(stored.row.dataKey);
  byDate_.erase({stored.written, sequence});
  for (const auto& pair : stored.row.meta) {
    const auto entry = byMetaPair_.find(pair);
    entry->second.erase(sequence);
    if (entry->second.empty()) byMetaPair_.erase(entry);
  }
  rows_.erase(found);
}

void MemoryCacheTable::removeRowsOutside(const LiveSpan& live) {
  while (!byDate_.empty() && byDate_.begin()->first < live.earliest) remove(byDate_.begin()->second);
  while (!byDate_.empty() && live.latest < std::prev(byDate_.end())->first) {
    remove(std::prev(byDate_.end())->second);
  }
}

}  // namespace vellora::hostkit
