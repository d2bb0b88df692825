#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>

#include "conformance/Guarantee.h"
#include "vellora/Host/Cache.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::conformance {

/// What you tell the suite of your cache. Each test makes one of these, and wants to find nothing in its
/// cache.
///
///     class MyCacheHost final : public conformance::CacheHost {
///       std::shared_ptr<CorvaneSDK::Cache> open() override { return MyCache::open(folder_.path()); }
///       bool advanceClock(double) override { return false; }
///       …
///     };
///
/// Ownership: the suite owns the host of a test, and shares the caches that it opens; it lets go of both at
/// the end of the test.
///
/// Threads: used on the thread of the tests; the caches themselves are called from several.
class VELLORA_EXPORT CacheHost {
 public:
  virtual ~CacheHost() = default;

  /// The cache as your host opens it at its start. Called a second time, once the first has been let go of,
  /// it gives what the next start finds.
  [[nodiscard]] virtual std::shared_ptr<CorvaneSDK::Cache> open() = 0;

  /// False for a cache that forgets everything with the process, which your users then pay for offline.
  [[nodiscard]] virtual bool outlivesTheProcess() const { return true; }

  /// Sets the clock of the caches forward, by seconds. False when that cannot be done: the tests of what
  /// happens to old rows are then skipped.
  [[nodiscard]] virtual bool advanceClock(double seconds) = 0;

 protected:
  CacheHost() = default;
  CacheHost(const CacheHost&) = default;
  CacheHost& operator=(const CacheHost&) = default;
};

/// What the contract demands of `Cache`, and of the `CacheTable`s that it hands out.
[[nodiscard]] VELLORA_EXPORT std::span<const Guarantee<CacheHost>> cacheGuarantees();
[[nodiscard]] VELLORA_EXPORT std::span<const Guarantee<CacheHost>> cacheTableGuarantees();

/// Adds to the program's tests one for each of these guarantees, called `suite.Guarantee`. Call it before
/// RUN_ALL_TESTS; `make` is called once in each test.
///
/// That a damaged blob or row is not returned is left to you: only you know how to damage one.
VELLORA_EXPORT void registerCacheConformance(const std::string& suite,
                                             const std::function<std::unique_ptr<CacheHost>()>& make);

}  // namespace vellora::conformance
