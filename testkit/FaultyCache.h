#pragma once

#include <memory>
#include <optional>
#include <string>

#include "testkit/ForwardingCache.h"
#include "testkit/HostFaults.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// A cache whose calls, and those of its tables, fail as a `HostFaults` says; the others go to another cache.
///
/// A call that fails does not reach the other cache, except that wrong bytes are made from the right ones. It
/// returns what the host contract says of a failure: nothing, false, a null table from `openTable`; from
/// `createTable` a table that stays empty and whose every call fails.
///
/// Take a `FailingCache` where only the cache is to fail, and a `FaultyHost` for a whole host.
///
/// Ownership: shares the other cache and the faults, with its tables too, which may outlive it.
///
/// Threads: safe to use from several threads at once, as far as the other cache is.
///
/// Errors: none of its own.
class VELLORA_EXPORT FaultyCache : public ForwardingCache {
 public:
  FaultyCache(std::shared_ptr<CorvaneSDK::Cache> next, std::shared_ptr<HostFaults> faults);
  ~FaultyCache() override;

  [[nodiscard]] std::optional<Data> load(const std::string& key) final;
  bool save(const Data& data, const std::string& key) final;
  bool remove(const std::string& key) final;
  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> openTable(const std::string& tableKey) final;
  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> createTable(const CorvaneSDK::Table& table) final;

 protected:
  [[nodiscard]] HostFaults& faults() const noexcept { return *faults_; }

  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> wrapTable(
      std::shared_ptr<CorvaneSDK::CacheTable> table, const std::string& tableKey) final;

 private:
  const std::shared_ptr<HostFaults> faults_;
};

}  // namespace vellora::testkit
