#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "vellora/Host/Cache.h"
#include "vellora/Host/Table.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::hostkit {

class MemoryCacheTable;

/// A `Cache` that keeps everything in memory and forgets it with the process: for tests, benchmarks,
/// previews, and for hosts that must leave nothing on disk. Nothing bounds its size but the callers' own
/// purging, and the age of its rows: those that are too old go with the next write to their table.
///
/// Rows written without a data key are keyed by their meta, so equal meta replaces the earlier row. An exact
/// query yields the newest row first. A filter made by `metaEquals` or `dataKeyEquals` is answered
/// through an index.
///
/// Ownership: tables live as long as the cache or anyone who holds them. Blobs share their bytes with the
/// `Data` that was saved.
///
/// Threads: every call may come from any thread. No lock is held while a filter is called.
///
/// Errors: none; every write succeeds. Only a row that the clock dates with no number is refused.
class VELLORA_EXPORT MemoryCache final : public CorvaneSDK::Cache {
 public:
  /// `clock` dates the rows and tells their age; it is called from any thread, while no lock is held.
  explicit MemoryCache(std::function<Date()> clock = now);
  ~MemoryCache() override;

  /// The blob that was saved last under `key`; no value when there is none.
  [[nodiscard]] std::optional<Data> load(const std::string& key) override;

  /// These give true, always.
  bool save(const Data& data, const std::string& key) override;
  bool remove(const std::string& key) override;

  /// The table that was created with that key; null when none was.
  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> openTable(const std::string& tableKey) override;

  /// The table with that key, a new one when there was none. Never null.
  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> createTable(const CorvaneSDK::Table& table) override;

 private:
  const std::function<Date()> clock_;

  std::mutex mutex_;  // guards what follows
  std::map<std::string, Data> blobs_;
  std::map<std::string, std::shared_ptr<MemoryCacheTable>> tables_;
};

}  // namespace vellora::hostkit
