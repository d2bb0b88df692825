#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "testkit/ForwardingCache.h"
#include "vellora/Host/Row.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// Passes calls on to another cache, fails those that the test chooses, and records all of them, those on its
/// tables included, in one order.
///
///     const auto cache = std::make_shared<FailingCache>(std::make_shared<hostkit::MemoryCache>());
///     cache->fail(FailingCache::Operation::save, "ops.theme.fetch.timestamp");
///     // … run what is tested …
///     EXPECT_EQ(cache->callTexts(), (std::vector<std::string>{"load ops.theme.fetch.timestamp"}));
///
/// A call that fails does not reach the other cache. It returns what the host contract says of a failure:
/// nothing, false, a null table from `openTable`; from `createTable` a table on which every call fails.
///
/// Ownership: shares the cache that it forwards to. The tables that it hands out may outlive it; they go on
/// failing and recording.
/// Threads: safe to use from several threads at once, as far as the cache that it forwards to is. Key
/// predicates are called inside the failing call, with no lock held.
class VELLORA_EXPORT FailingCache final : public ForwardingCache {
 public:
  enum class Operation {
    load,
    save,
    remove,
    openTable,
    createTable,
    // On a table that this cache handed out; their key is the table's.
    tableLoad,
    tableFetch,
    tablePurge,
    tableUpsert,
  };

  using KeyPredicate = std::function<bool(const std::string& key)>;

  struct Call {
    Operation operation;
    std::string key;  ///< of the blob or of the table
    /// The meta of the row that is written, or the pairs that the rows must have; empty when the selection is
    /// a plain predicate.
    CorvaneSDK::Meta meta;
    bool failed = false;

    /// Such as "save ops.theme.fetch.timestamp" or "tableUpsert Themes kind=list", " (failed)" behind it
    /// when it did.
    [[nodiscard]] std::string description() const;

    friend bool operator==(const Call&, const Call&) = default;
  };

  explicit FailingCache(std::shared_ptr<CorvaneSDK::Cache> next);
  ~FailingCache() override;

  /// Fails the calls of that kind from now on: all, those for `key`, or those whose key `keys` admits. A
  /// later `fail` of the same operation replaces the earlier one.
  void fail(Operation operation);
  void fail(Operation operation, std::string key);
  void fail(Operation operation, KeyPredicate keys);

  /// Lets the calls of that kind pass again.
  void mend(Operation operation);

  /// The calls so far, in order of their beginning.
  [[nodiscard]] std::vector<Call> calls() const;

  /// Their descriptions.
  [[nodiscard]] std::vector<std::string> callTexts() const;

  /// Forgets the calls so far; what was told to fail still does.
  void clearCalls();

  [[nodiscard]] std::optional<Data> load(const std::string& key) override;
  bool save(const Data& data, const std::string& key) override;
  bool remove(const std::string& key) override;
  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> openTable(const std::string& tableKey) override;
  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> createTable(const CorvaneSDK::Table& table) override;

 protected:
  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> wrapTable(
      std::shared_ptr<CorvaneSDK::CacheTable> table, const std::string& tableKey) override;

 private:
  class Faults;
  class FailingTable;
  class BrokenTable;

  std::shared_ptr<Faults> faults_;  // shared with the tables
};

}  // namespace vellora::testkit
