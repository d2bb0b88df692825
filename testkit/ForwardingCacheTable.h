#pragma once

#include <memory>
#include <vector>

#include "vellora/Host/CacheTable.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// Passes every call on to another table. Derive from it to change one of them, and hand it out by overriding
/// `ForwardingCache::wrapTable`:
///
///     class FullTable : public ForwardingCacheTable {
///      public:
///       using ForwardingCacheTable::ForwardingCacheTable;
///       bool upsert(const CorvaneSDK::CacheEntry&) override { return false; }
///     };
///
/// Ownership: shares the table that it forwards to, which must not be null.
///
/// Threads: as safe as the table that it forwards to; adds no state of its own.
class VELLORA_EXPORT ForwardingCacheTable : public CorvaneSDK::CacheTable {
 public:
  explicit ForwardingCacheTable(std::shared_ptr<CorvaneSDK::CacheTable> next);
  ~ForwardingCacheTable() override;

  [[nodiscard]] std::vector<Data> load(const CorvaneSDK::Query& query) override;
  [[nodiscard]] std::vector<CorvaneSDK::Row> fetch(const CorvaneSDK::Query& query) override;
  bool purge(const CorvaneSDK::RowFilter& rowsInFilter) override;
  bool upsert(const CorvaneSDK::CacheEntry& entry) override;

 protected:
  /// The table that the calls go to.
  [[nodiscard]] CorvaneSDK::CacheTable& next() const noexcept { return *next_; }

 private:
  std::shared_ptr<CorvaneSDK::CacheTable> next_;
};

}  // namespace vellora::testkit
