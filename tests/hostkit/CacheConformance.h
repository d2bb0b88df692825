#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/MemoryCache.h"
#include "hostkit/SQLiteCache.h"
#include "tests/hostkit/ManualClock.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/Host/Cache.h"
#include "vellora/Host/CacheTable.h"

namespace vellora::hostkit::tests {

using vellora::tests::TemporaryFolder;

using CorvaneSDK::Cache;
using CorvaneSDK::CacheEntry;
using CorvaneSDK::CacheTable;
using CorvaneSDK::Meta;
using CorvaneSDK::metaEquals;
using CorvaneSDK::PositionRange;
using CorvaneSDK::Query;
using CorvaneSDK::Row;
using CorvaneSDK::RowFilter;
using CorvaneSDK::Table;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr double sevenDays = 604'800;

/// How to obtain a cache of one kind. `open` again gives what a later start of the host would find.
class MemoryKind {
 public:
  static constexpr bool outlivesTheProcess = false;

  [[nodiscard]] static std::shared_ptr<Cache> open(const std::function<Date()>& clock) {
    return std::make_shared<MemoryCache>(clock);
  }
};

class SQLiteKind {
 public:
  static constexpr bool outlivesTheProcess = true;

  [[nodiscard]] std::shared_ptr<Cache> open(const std::function<Date()>& clock) const {
    SQLiteCache::Options options;
    options.clock = clock;
    return SQLiteCache::open(folder_.file("cache.db"), options).value();
  }

 private:
  TemporaryFolder folder_;
};

/// Every kind of cache that the contract's tests run on.
using CacheKinds = testing::Types<MemoryKind, SQLiteKind>;

/// A test of the contract: an empty cache of one kind, whose clock the test sets.
template <class Kind>
class CacheConformance : public testing::Test {
 protected:
  CacheConformance() : cache(kind.open(clock.function())) {}

  std::shared_ptr<CacheTable> emptyTable(const std::string& key = "Rows") {
    return CacheTable::create(*cache, Table::emptyWithKey(key, Table::MaxAge::sevenDays));
  }

  ManualClock clock;
  Kind kind;
  std::shared_ptr<Cache> cache;
};

inline Data blob(const std::string& text) {
  return Data(text);
}

inline CacheEntry item(const std::string& name, const std::string& text,
                       const std::optional<std::string>& dataKey = std::nullopt) {
  return {blob(text), {{"kind", "item"}, {"name", name}}, dataKey};
}

inline void addItems(CacheTable& table, const std::vector<std::string>& itemNames) {
  for (const auto& name : itemNames) ASSERT_TRUE(table.upsert(item(name, "data of " + name)));
}

inline std::string everyByteValue() {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes.push_back(static_cast<char>(byte));
  return bytes;
}

inline std::vector<std::string> texts(const std::vector<Data>& blobs) {
  std::vector<std::string> all;
  for (const Data& one : blobs) all.emplace_back(one.view());
  return all;
}

inline std::vector<std::string> names(const std::vector<Row>& rows) {
  std::vector<std::string> all;
  for (const Row& row : rows) all.push_back(row.meta.at("name"));
  return all;
}

inline RowFilter everyRow() {
  return [](const Row&) { return true; };
}

inline RowFilter named(const std::string& name) {
  return [name](const Row& row) {
    const auto found = row.meta.find("name");
    return found != row.meta.end() && found->second == name;
  };
}

inline RowFilter keyed(const std::string& dataKey) {
  return [dataKey](const Row& row) { return row.dataKey == dataKey; };
}

}  // namespace vellora::hostkit::tests
