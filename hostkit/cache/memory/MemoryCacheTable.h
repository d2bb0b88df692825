#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "hostkit/cache/rows/LiveSpan.h"
#include "hostkit/cache/rows/StoredRow.h"
#include "vellora/Host/CacheTable.h"

namespace vellora::hostkit {

/// A table of a `MemoryCache`.
///
/// Threads: synchronises itself; filters and the clock are called while no lock is held.
class MemoryCacheTable final : public CorvaneSDK::CacheTable {
 public:
  MemoryCacheTable(CorvaneSDK::Table::MaxAge maxAge, std::function<Date()> clock);

  [[nodiscard]] std::vector<Data> load(const CorvaneSDK::Query& query) override;
  [[nodiscard]] std::vector<CorvaneSDK::Row> fetch(const CorvaneSDK::Query& query) override;
  bool purge(const CorvaneSDK::RowFilter& rowsInFilter) override;
  bool upsert(const CorvaneSDK::CacheEntry& entry) override;

 private:
  using Sequence = std::int64_t;
  using MetaPair = CorvaneSDK::Meta::value_type;
  using RowsByAge = std::map<Sequence, std::shared_ptr<const StoredRow>>;
  struct HashOfPair {
    std::size_t operator()(const MetaPair& pair) const;
  };

  [[nodiscard]] StoredRows rowsFor(const CorvaneSDK::Query& query);
  [[nodiscard]] StoredRows candidates(const CorvaneSDK::RowFilter* filter);

  // The caller of these holds the lock.
  [[nodiscard]] const RowsByAge* smallestIndexEntry(const CorvaneSDK::Meta& pairs) const;
  void add(std::shared_ptr<const StoredRow> stored);
  void remove(Sequence sequence);
  void removeRowsOutside(const LiveSpan& live);

  const CorvaneSDK::Table::MaxAge maxAge_;
  const std::function<Date()> clock_;

  std::mutex mutex_;  // guards what follows
  Sequence lastSequence_ = 0;
  RowsByAge rows_;
  std::unordered_map<std::string, std::shared_ptr<const StoredRow>> byDataKey_;
  std::unordered_map<MetaPair, RowsByAge, HashOfPair> byMetaPair_;
  std::set<std::pair<Date, Sequence>> byDate_;
};

}  // namespace vellora::hostkit
