#pragma once

#include <memory>
#include <string>
#include <vector>

#include "testkit/FaultyCache.h"
#include "testkit/HostCall.h"
#include "testkit/HostFaults.h"
#include "vellora/Host/Cache.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// A `FaultyCache` with faults of its own: passes calls on to another cache, fails those that the test
/// chooses by kind and key, and records all of them, those on its tables included, in one order.
///
///     const auto cache = std::make_shared<FailingCache>(std::make_shared<hostkit::MemoryCache>());
///     cache->fail(FailingCache::Operation::save, "ops.theme.fetch.timestamp");
///     // … run what is tested …
///     EXPECT_EQ(cache->callTexts(), (std::vector<std::string>{"load ops.theme.fetch.timestamp"}));
///
/// A call that fails finds nothing, or writes nothing and returns false. A `createTable` that fails gives a
/// table that stays empty and whose every call fails.
///
/// Ownership: shares the cache that it forwards to. The tables that it hands out may outlive it; they go on
/// failing and recording.
///
/// Threads: safe to use from several threads at once, as far as the cache that it forwards to is. Key
/// predicates are called inside the failing call, with no lock held.
///
/// Errors: none of its own.
class VELLORA_EXPORT FailingCache final : public FaultyCache {
 public:
  using Operation = HostCall::Operation;
  using KeyPredicate = HostFaults::SubjectPredicate;

  explicit FailingCache(std::shared_ptr<CorvaneSDK::Cache> next);
  ~FailingCache() override;

  /// Fails the calls of that kind from now on: all, those for `key`, or those whose key `keys` admits. The
  /// key of a call on a table is the table's. A later `fail` of the same operation replaces the earlier one.
  void fail(Operation operation);
  void fail(Operation operation, std::string key);
  void fail(Operation operation, KeyPredicate keys);

  /// Lets the calls of that kind pass again.
  void mend(Operation operation);

  /// The calls so far, in order of their beginning.
  [[nodiscard]] std::vector<HostCall> calls() const;

  /// Their descriptions, such as "tableUpsert Themes kind=list (failed)".
  [[nodiscard]] std::vector<std::string> callTexts() const;

  /// Forgets the calls so far; what was told to fail still does.
  void clearCalls();
};

}  // namespace vellora::testkit
