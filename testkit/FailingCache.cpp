#include "testkit/FailingCache.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <mutex>
#include <utility>

#include "testkit/ForwardingCacheTable.h"

namespace vellora::testkit {

using CorvaneSDK::CacheEntry;
using CorvaneSDK::CacheTable;
using CorvaneSDK::Meta;
using CorvaneSDK::Query;
using CorvaneSDK::Row;
using CorvaneSDK::RowFilter;

namespace {

std::string nameOf(FailingCache::Operation operation) {
  switch (operation) {
    case FailingCache::Operation::load:
      return "load";
    case FailingCache::Operation::save:
      return "save";
    case FailingCache::Operation::remove:
      return "remove";
    case FailingCache::Operation::openTable:
      return "openTable";
    case FailingCache::Operation::createTable:
      return "createTable";
    case FailingCache::Operation::tableLoad:
      return "tableLoad";
    case FailingCache::Operation::tableFetch:
      return "tableFetch";
    case FailingCache::Operation::tablePurge:
      return "tablePurge";
    case FailingCache::Operation::tableUpsert:
      return "tableUpsert";
  }
  return "unknown";
}

Meta pairsOf(const RowFilter& filter) {
  return filter.metaPairs() ? *filter.metaPairs() : Meta{};
}

Meta pairsOf(const Query& query) {
  return query.filter() ? pairsOf(*query.filter()) : Meta{};
}

}  // namespace

std::string FailingCache::Call::description() const {
  std::string text = nameOf(operation) + " " + key;
  for (const auto& [name, value] : meta) text.append(" ").append(name).append("=").append(value);
  return failed ? text + " (failed)" : text;
}

/// What fails, and what was called: shared by a cache and its tables.
class FailingCache::Faults {
 public:
  void fail(Operation operation, KeyPredicate keys) {
    const std::lock_guard lock(mutex_);
    predicates_[operation] = std::move(keys);
  }

  void mend(Operation operation) {
    const std::lock_guard lock(mutex_);
    predicates_.erase(operation);
  }

  /// Records the call, and tells whether it is to fail.
  bool strikes(Operation operation, const std::string& key, Meta meta = {}) {
    const KeyPredicate predicate = predicateOf(operation);
    const bool failed = predicate && predicate(key);
    const std::lock_guard lock(mutex_);
    calls_.push_back({operation, key, std::move(meta), failed});
    return failed;
  }

  void record(Call call) {
    const std::lock_guard lock(mutex_);
    calls_.push_back(std::move(call));
  }

  [[nodiscard]] std::vector<Call> calls() const {
    const std::lock_guard lock(mutex_);
    return calls_;
  }

  void clearCalls() {
    const std::lock_guard lock(mutex_);
    calls_.clear();
  }

 private:
  [[nodiscard]] KeyPredicate predicateOf(Operation operation) const {
    const std::lock_guard lock(mutex_);
    const auto found = predicates_.find(operation);
    return found == predicates_.end() ? nullptr : found->second;
  }

  mutable std::mutex mutex_;
  std::map<Operation, KeyPredicate> predicates_;  // under mutex_
  std::vector<Call> calls_;                       // under mutex_
};

/// A table whose calls fail when they are told to.
class FailingCache::FailingTable final : public ForwardingCacheTable {
 public:
  FailingTable(std::shared_ptr<CacheTable> table, std::shared_ptr<Faults> faults, std::string key)
      : ForwardingCacheTable(std::move(table)), faults_(std::move(faults)), key_(std::move(key)) {}

  std::vector<Data> load(const Query& query) override {
    if (faults_->strikes(Operation::tableLoad, key_, pairsOf(query))) return {};
    return ForwardingCacheTable::load(query);
  }

  std::vector<Row> fetch(const Query& query) override {
    if (faults_->strikes(Operation::tableFetch, key_, pairsOf(query))) return {};
    return ForwardingCacheTable::fetch(query);
  }

  bool purge(const RowFilter& rowsInFilter) override {
    if (faults_->strikes(Operation::tablePurge, key_, pairsOf(rowsInFilter))) return false;
    return ForwardingCacheTable::purge(rowsInFilter);
  }

  bool upsert(const CacheEntry& entry) override {
    if (faults_->strikes(Operation::tableUpsert, key_, entry.meta)) return false;
    return ForwardingCacheTable::upsert(entry);
  }

 private:
  const std::shared_ptr<Faults> faults_;
  const std::string key_;
};

/// The table that a host returns when it cannot create one: every call fails, it stays empty.
class FailingCache::BrokenTable final : public CacheTable {
 public:
  BrokenTable(std::shared_ptr<Faults> faults, std::string key)
      : faults_(std::move(faults)), key_(std::move(key)) {}

  std::vector<Data> load(const Query& query) override {
    record(Operation::tableLoad, pairsOf(query));
    return {};
  }

  std::vector<Row> fetch(const Query& query) override {
    record(Operation::tableFetch, pairsOf(query));
    return {};
  }

  bool purge(const RowFilter& rowsInFilter) override {
    record(Operation::tablePurge, pairsOf(rowsInFilter));
    return false;
  }

  bool upsert(const CacheEntry& entry) override {
    record(Operation::tableUpsert, entry.meta);
    return false;
  }

 private:
  void record(Operation operation, Meta meta) const {
    faults_->record({operation, key_, std::move(meta), true});
  }

  const std::shared_ptr<Faults> faults_;
  const std::string key_;
};

FailingCache::FailingCache(std::shared_ptr<CorvaneSDK::Cache> next)
    : ForwardingCache(std::move(next)), faults_(std::make_shared<Faults>()) {}

FailingCache::~FailingCache() = default;

void FailingCache::fail(Operation operation) {
  fail(operation, [](const std::string&) { return true; });
}

void FailingCache::fail(Operation operation, std::string key) {
  fail(operation, [key = std::move(key)](const std::string& called) { return called == key; });
}

void FailingCache::fail(Operation operation, KeyPredicate keys) {
  faults_->fail(operation, std::move(keys));
}

void FailingCache::mend(Operation operation) {
  faults_->mend(operation);
}

std::vector<FailingCache::Call> FailingCache::calls() const {
  return faults_->calls();
}

std::vector<std::string> FailingCache::callTexts() const {
  const std::vector<Call> calls = faults_->calls();
  std::vector<std::string> texts;
  std::transform(calls.begin(), calls.end(), std::back_inserter(texts),
                 [](const Call& call) { return call.description(); });
  return texts;
}

void FailingCache::clearCalls() {
  faults_->clearCalls();
}

std::optional<Data> FailingCache::load(const std::string& key) {
  if (faults_->strikes(Operation::load, key)) return std::nullopt;
  return ForwardingCache::load(key);
}

bool FailingCache::save(const Data& data, const std::string& key) {
  if (faults_->strikes(Operation::save, key)) return false;
  return ForwardingCache::save(data, key);
}

bool FailingCache::remove(const std::string& key) {
  if (faults_->strikes(Operation::remove, key)) return false;
  return ForwardingCache::remove(key);
}

std::shared_ptr<CacheTable> FailingCache::openTable(const std::string& tableKey) {
  if (faults_->strikes(Operation::openTable, tableKey)) return nullptr;
  return ForwardingCache::openTable(tableKey);
}

std::shared_ptr<CacheTable> FailingCache::createTable(const CorvaneSDK::Table& table) {
  if (faults_->strikes(Operation::createTable, table.key())) {
    return std::make_shared<BrokenTable>(faults_, table.key());
  }
  return ForwardingCache::createTable(table);
}

std::shared_ptr<CacheTable> FailingCache::wrapTable(std::shared_ptr<CacheTable> table,
                                                    const std::string& tableKey) {
  return std::make_shared<FailingTable>(std::move(table), faults_, tableKey);
}

}  // namespace vellora::testkit
