#pragma once

#include <memory>
#include <optional>
#include <string>

#include "vellora/Host/Cache.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// Passes every call on to another cache. Derive from it to change one of them:
///
///     class ReadOnlyCache : public ForwardingCache {
///      public:
///       using ForwardingCache::ForwardingCache;
///       bool save(const Data&, const std::string&) override { return false; }
///     };
///
/// Ownership: shares the cache that it forwards to, which must not be null.
///
/// Threads: as safe as the cache that it forwards to; adds no state of its own.
class VELLORA_EXPORT ForwardingCache : public CorvaneSDK::Cache {
 public:
  explicit ForwardingCache(std::shared_ptr<CorvaneSDK::Cache> next);
  ~ForwardingCache() override;

  [[nodiscard]] std::optional<Data> load(const std::string& key) override;
  bool save(const Data& data, const std::string& key) override;
  bool remove(const std::string& key) override;
  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> openTable(const std::string& tableKey) override;
  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> createTable(const CorvaneSDK::Table& table) override;
  void releaseMemory() override;

 protected:
  /// The cache that the calls go to.
  [[nodiscard]] CorvaneSDK::Cache& next() const noexcept { return *next_; }

  /// What stands in for `table`, which the other cache opened or created: the table itself unless overridden.
  /// Not called for a table that could not be opened.
  [[nodiscard]] virtual std::shared_ptr<CorvaneSDK::CacheTable> wrapTable(
      std::shared_ptr<CorvaneSDK::CacheTable> table, const std::string& tableKey);

 private:
  std::shared_ptr<CorvaneSDK::Cache> next_;
};

}  // namespace vellora::testkit
