#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bindings/c/ForeignCache.h"
#include "bindings/c/Sink.h"
#include "vellora/Host/CacheEntry.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Host/Query.h"
#include "vellora/Host/Row.h"
#include "vellora/Platform/Values/Data.h"

namespace vellora::capi {

/// A table of rows in the cache of a host that gives a table of functions.
///
/// C is told of pairs that the meta holds and of a data key, which is all that the library asks for. Rows
/// that another filter does not admit are left out here; a purge by another filter is refused.
///
/// Ownership: shares the functions.
///
/// Threads, Errors: as the functions.
class ForeignCacheTable final : public CorvaneSDK::CacheTable {
 public:
  ForeignCacheTable(std::shared_ptr<const ForeignCache::Functions> functions, std::string key)
      : functions_(std::move(functions)), key_(std::move(key)) {}

  [[nodiscard]] std::vector<Data> load(const CorvaneSDK::Query& query) override;
  [[nodiscard]] std::vector<CorvaneSDK::Row> fetch(const CorvaneSDK::Query& query) override;
  bool purge(const CorvaneSDK::RowFilter& rowsInFilter) override;
  bool upsert(const CorvaneSDK::CacheEntry& entry) override;

 private:
  [[nodiscard]] std::vector<GivenRow> rows(const CorvaneSDK::Query& query, bool wantsData) const;

  const std::shared_ptr<const ForeignCache::Functions> functions_;
  const std::string key_;
};

}  // namespace vellora::capi
