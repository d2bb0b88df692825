#pragma once

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <set>
#include <string>

#include "vellora/Host/Cache.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Host/Query.h"
#include "vellora/Host/Row.h"
#include "vellora/Host/Table.h"
#include "vellora/Platform/Values/Data.h"

namespace vellora::hostkit::tests {

/// Writes into a cache, keeps what the writes have told, and compares that with what the cache then returns.
class CacheLedger {
 public:
  using Value = std::optional<std::string>;

  /// Writes what is there before anything goes wrong.
  void fill(CorvaneSDK::Cache& cache) {
    for (const char* name : {"kept", "replaced", "removed"}) {
      save(cache, name, std::string(5000, 'o') + name);
    }
    const auto table = cache.createTable(rowsTable());
    for (const char* name : {"kept", "replaced", "purged", "swept"}) {
      upsert(*table, name, std::string("old ") + name);
    }
  }

  /// Reads and writes in every way there is.
  void use(CorvaneSDK::Cache& cache) {
    const auto table = cache.createTable(rowsTable());
    ASSERT_NE(table, nullptr);
    expectNothingWrong(cache);
    save(cache, "replaced", "a new and shorter one");
    save(cache, "added", std::string(9000, 'n'));
    wrote("blob removed", std::nullopt, cache.remove("removed"));
    upsert(*table, "replaced", std::string(6000, 'n'));
    upsert(*table, "added", "new");
    wrote("row purged", std::nullopt, table->purge(CorvaneSDK::metaEquals(metaOf("purged"))));
    const bool swept =
        table->purge([](const CorvaneSDK::Row& row) { return row.meta.at("name") == "swept"; });
    wrote("row swept", std::nullopt, swept);
    expectNothingWrong(cache);
  }

  void save(CorvaneSDK::Cache& cache, const std::string& name, const std::string& text) {
    wrote("blob " + name, text, cache.save(Data(text), name));
  }

  /// Every answer is the right one, or none.
  void expectNothingWrong(CorvaneSDK::Cache& cache) const {
    for (const auto& name : blobNames()) expectRightOrNone("blob " + name, loadBlob(cache, name));
    const auto table = cache.openTable("Rows");
    if (!table) return;
    for (const auto& name : rowNames()) expectRightOrNone("row " + name, loadRow(*table, name));
  }

  /// Every answer is the right one.
  void expectAllRight(CorvaneSDK::Cache& cache) const {
    for (const auto& name : blobNames()) {
      EXPECT_EQ(loadBlob(cache, name), at("blob " + name)) << "blob " << name;
    }
    const auto table = cache.createTable(rowsTable());
    for (const auto& name : rowNames()) {
      EXPECT_EQ(loadRow(*table, name), at("row " + name)) << "row " << name;
    }
  }

  /// How many writes were refused.
  [[nodiscard]] int refusals() const { return refusals_; }

  [[nodiscard]] static Value loadBlob(CorvaneSDK::Cache& cache, const std::string& name) {
    const auto blob = cache.load(name);
    return blob ? Value(blob->view()) : std::nullopt;
  }

 private:
  static std::set<std::string> blobNames() { return {"kept", "replaced", "removed", "added"}; }
  static std::set<std::string> rowNames() { return {"kept", "replaced", "purged", "swept", "added"}; }
  static CorvaneSDK::Meta metaOf(const std::string& name) { return {{"kind", "item"}, {"name", name}}; }
  static CorvaneSDK::Table rowsTable() {
    return CorvaneSDK::Table::emptyWithKey("Rows", CorvaneSDK::Table::MaxAge::sevenDays);
  }

  static Value loadRow(CorvaneSDK::CacheTable& table, const std::string& name) {
    const auto found = table.load(CorvaneSDK::Query::exact(CorvaneSDK::metaEquals(metaOf(name))));
    EXPECT_LE(found.size(), 1U) << name;
    return found.empty() ? std::nullopt : Value(found[0].view());
  }

  void upsert(CorvaneSDK::CacheTable& table, const std::string& name, const std::string& text) {
    wrote("row " + name, text, table.upsert({Data(text), metaOf(name), std::nullopt}));
  }

  void wrote(const std::string& item, const Value& value, bool told) {
    if (told) {
      values_[item] = value;
    } else {
      ++refusals_;
    }
  }
  [[nodiscard]] Value at(const std::string& item) const {
    const auto found = values_.find(item);
    return found == values_.end() ? std::nullopt : found->second;
  }

  void expectRightOrNone(const std::string& item, const Value& found) const {
    if (found) {
      EXPECT_EQ(found, at(item)) << item;
    }
  }

  std::map<std::string, Value> values_;  // by item: what its last write told
  int refusals_ = 0;
};

}  // namespace vellora::hostkit::tests
