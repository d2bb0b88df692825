#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "conformance/CacheSamples.h"
#include "conformance/Texts.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "tests/hostkit/cache/ManualClock.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/Host/Cache.h"
#include "vellora/Host/CacheTable.h"

namespace vellora::hostkit::tests {

using vellora::tests::TemporaryFolder;

using conformance::addItems;
using conformance::blob;
using conformance::everyByteValue;
using conformance::everyRow;
using conformance::item;
using conformance::keyed;
using conformance::named;
using conformance::names;
using conformance::sevenDays;
using conformance::texts;
using CorvaneSDK::Cache;
using CorvaneSDK::CacheEntry;
using CorvaneSDK::CacheTable;
using CorvaneSDK::dataKeyEquals;
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

/// Every kind of cache that is tested.
using CacheKinds = testing::Types<MemoryKind, SQLiteKind>;

/// An empty cache of one kind, whose clock the test sets.
template <class Kind>
class ReadyCaches : public testing::Test {
 protected:
  ReadyCaches() : cache(kind.open(clock.function())) {}

  std::shared_ptr<CacheTable> emptyTable(const std::string& key = "Rows") {
    return conformance::emptyTable(*cache, key);
  }

  ManualClock clock;
  Kind kind;
  std::shared_ptr<Cache> cache;
};

}  // namespace vellora::hostkit::tests
