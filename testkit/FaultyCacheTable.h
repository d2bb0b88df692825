#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "testkit/ForwardingCacheTable.h"
#include "testkit/HostFaults.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// A table whose calls fail as a `HostFaults` says; the others go to another table. A call that fails does
/// not reach it, except that wrong bytes are made from the right ones.
///
/// Handed out by `FaultyCache`. The subject of its calls is the table's key, their meta that of the row that
/// is written, or the pairs that the wanted rows must have.
///
/// Ownership: shares the other table and the faults.
///
/// Threads: safe to use from several threads at once, as far as the other table is.
///
/// Errors: none of its own; a read that fails finds nothing or wrong bytes, a write that fails returns false.
class VELLORA_EXPORT FaultyCacheTable final : public ForwardingCacheTable {
 public:
  FaultyCacheTable(std::shared_ptr<CorvaneSDK::CacheTable> next, std::shared_ptr<HostFaults> faults,
                   std::string tableKey);

  /// The table that a host hands out when it cannot create one: it stays empty, and every call fails.
  FaultyCacheTable(std::shared_ptr<HostFaults> faults, std::string tableKey);

  ~FaultyCacheTable() override;

  [[nodiscard]] std::vector<Data> load(const CorvaneSDK::Query& query) override;
  [[nodiscard]] std::vector<CorvaneSDK::Row> fetch(const CorvaneSDK::Query& query) override;
  bool purge(const CorvaneSDK::RowFilter& rowsInFilter) override;
  bool upsert(const CorvaneSDK::CacheEntry& entry) override;

 private:
  [[nodiscard]] HostCall callOf(HostCall::Operation operation, CorvaneSDK::Meta meta) const;

  const std::shared_ptr<HostFaults> faults_;
  const std::string tableKey_;
  const bool isCreated_;
};

}  // namespace vellora::testkit
