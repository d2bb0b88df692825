#pragma once

#include <memory>
#include <string>
#include <vector>

#include "testkit/ForwardingCacheTable.h"
#include "testkit/HostFaults.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// A table whose calls fail as a `HostFaults` says; the others go to another table. A call that fails does
/// not reach it, except that wrong bytes are made from the right ones.
///
/// Ownership: shares both. Threads: as safe as the other table.
class VELLORA_EXPORT FaultyCacheTable final : public ForwardingCacheTable {
 public:
  FaultyCacheTable(std::shared_ptr<CorvaneSDK::CacheTable> next, std::shared_ptr<HostFaults> faults,
                   std::string tableKey);
  ~FaultyCacheTable() override;

  [[nodiscard]] std::vector<Data> load(const CorvaneSDK::Query& query) override;
  [[nodiscard]] std::vector<CorvaneSDK::Row> fetch(const CorvaneSDK::Query& query) override;
  bool purge(const CorvaneSDK::RowFilter& rowsInFilter) override;
  bool upsert(const CorvaneSDK::CacheEntry& entry) override;

 private:
  const std::shared_ptr<HostFaults> faults_;
  const std::string tableKey_;
};

}  // namespace vellora::testkit
