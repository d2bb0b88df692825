#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "hostkit/StandardPlatformAPI.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Models/SObject.h"
#include "vellora/Services/VelloraService.h"

namespace vellora::bench {

/// A logger that counts the bytes of its lines and drops them.
class LineCounter final : public CorvaneSDK::Logger {
 public:
  void log(std::string_view message, CorvaneSDK::LogLevel) override {
    bytes_.fetch_add(message.size(), std::memory_order_relaxed);
  }
  [[nodiscard]] std::size_t bytes() const { return bytes_; }

 private:
  std::atomic<std::size_t> bytes_ = 0;
};

/// Where a cache is kept.
enum class Medium { memory, sqlite };

[[nodiscard]] std::string_view nameOf(Medium medium);

/// A façade that has loaded the lists of `types` generated types into a fresh cache, over a network that
/// answers at once, and a catalogue on the same host. They serve what is measured after the prefetch.
class CannedHost {
 public:
  CannedHost(Medium medium, std::size_t types);
  ~CannedHost();

  [[nodiscard]] VelloraService& service() const { return *service_; }
  [[nodiscard]] const Catalog& catalog() const { return *catalog_; }
  [[nodiscard]] CorvaneSDK::Cache& cache() const { return *cache_; }
  [[nodiscard]] LineCounter& logger() const { return *logger_; }

  /// An id of a record of each of the first `count` types.
  [[nodiscard]] std::vector<std::string> ids(std::size_t count) const;

  /// The names of `count` types from all over the list.
  [[nodiscard]] std::vector<std::string> names(std::size_t count) const;

  // Each looks up, waits for the answer, and returns the number of its entries.
  [[nodiscard]] std::size_t lookUpIds(const std::vector<std::string>& ids) const;
  [[nodiscard]] std::size_t lookUpNames(const std::vector<std::string>& names) const;
  [[nodiscard]] std::size_t askRecords(const std::vector<std::string>& ids) const;

 private:
  const tests::TemporaryFolder folder_;
  const std::shared_ptr<CorvaneSDK::Cache> cache_;
  const std::shared_ptr<LineCounter> logger_ = std::make_shared<LineCounter>();
  const std::vector<SObject> types_;
  const std::shared_ptr<hostkit::StandardPlatformAPI> host_;
  std::unique_ptr<VelloraService> service_;
  std::unique_ptr<Catalog> catalog_;
};

/// A cache of that medium; `folder` must outlive it.
[[nodiscard]] std::shared_ptr<CorvaneSDK::Cache> freshCache(Medium medium,
                                                            const tests::TemporaryFolder& folder);

}  // namespace vellora::bench
