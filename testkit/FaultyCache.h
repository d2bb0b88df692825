#pragma once

#include <memory>
#include <optional>
#include <string>

#include "testkit/ForwardingCache.h"
#include "testkit/HostFaults.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// A cache whose calls, and those of its tables, fail as a `HostFaults` says; the others go to another cache.
/// A call that fails does not reach it, except that wrong bytes are made from the right ones.
///
/// Ownership: shares both. Threads: as safe as the other cache.
class VELLORA_EXPORT FaultyCache final : public ForwardingCache {
 public:
  FaultyCache(std::shared_ptr<CorvaneSDK::Cache> next, std::shared_ptr<HostFaults> faults);
  ~FaultyCache() override;

  [[nodiscard]] std::optional<Data> load(const std::string& key) override;
  bool save(const Data& data, const std::string& key) override;
  bool remove(const std::string& key) override;
  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> openTable(const std::string& tableKey) override;
  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> createTable(const CorvaneSDK::Table& table) override;

 protected:
  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> wrapTable(
      std::shared_ptr<CorvaneSDK::CacheTable> table, const std::string& tableKey) override;

 private:
  const std::shared_ptr<HostFaults> faults_;
};

}  // namespace vellora::testkit
