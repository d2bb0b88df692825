#pragma once

#include <memory>
#include <optional>
#include <string>

#include "apps/vellora/explore/Activity.h"
#include "vellora/Host/Cache.h"

namespace vellora::explore {

/// Passes every call on to another cache, its tables' included, and notes what was found and what was
/// written.
///
/// Ownership: shares what it is given.
///
/// Threads: as safe as the other cache.
///
/// Errors: what there is no memory to note is left out.
class ObservedCache final : public CorvaneSDK::Cache {
 public:
  ObservedCache(std::shared_ptr<CorvaneSDK::Cache> next, std::shared_ptr<Activity> activity);

  [[nodiscard]] std::optional<Data> load(const std::string& key) override;
  bool save(const Data& data, const std::string& key) override;
  bool remove(const std::string& key) override;
  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> openTable(const std::string& tableKey) override;
  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> createTable(const CorvaneSDK::Table& table) override;

 private:
  const std::shared_ptr<CorvaneSDK::Cache> next_;
  const std::shared_ptr<Activity> activity_;
};

}  // namespace vellora::explore
