#pragma once

#include <memory>
#include <string>
#include <vector>

#include "testkit/ForwardingCache.h"

namespace vellora::fuzz {

/// Passes every call on, and notes each write of something that the library will not read back: a blob or a
/// row that does not decode, or that stands under another key than its own.
class AuditedCache final : public testkit::ForwardingCache {
 public:
  explicit AuditedCache(std::shared_ptr<CorvaneSDK::Cache> next);
  ~AuditedCache() override;

  bool save(const Data& data, const std::string& key) override;

  /// What was wrong about the writes so far; empty when nothing was.
  [[nodiscard]] const std::vector<std::string>& findings() const noexcept { return *findings_; }

 protected:
  std::shared_ptr<CorvaneSDK::CacheTable> wrapTable(std::shared_ptr<CorvaneSDK::CacheTable> table,
                                                    const std::string& tableKey) override;

 private:
  const std::shared_ptr<std::vector<std::string>> findings_;  // shared with the tables
};

}  // namespace vellora::fuzz
