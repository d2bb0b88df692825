#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "conformance/CacheConformance.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/ForwardingCache.h"
#include "testkit/ForwardingCacheTable.h"
#include "tests/conformance/BrokenHosts.h"
#include "tests/hostkit/cache/ManualClock.h"

namespace vellora::conformance::tests {
namespace {

using CorvaneSDK::Cache;
using CorvaneSDK::CacheEntry;
using CorvaneSDK::CacheTable;
using CorvaneSDK::Query;
using CorvaneSDK::Row;
using CorvaneSDK::RowFilter;
using CorvaneSDK::Table;
using hostkit::tests::ManualClock;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testkit::ForwardingCache;
using testkit::ForwardingCacheTable;

using Wrap = std::function<std::shared_ptr<Cache>(std::shared_ptr<Cache>)>;

/// A right cache in memory, wrapped into what breaks it. With a stopped clock its rows never age.
class BrokenCacheHost final : public CacheHost {
 public:
  explicit BrokenCacheHost(Wrap wrap, bool isClockStopped = false)
      : wrap_(std::move(wrap)), isClockStopped_(isClockStopped) {}

  std::shared_ptr<Cache> open() override { return wrap_(kept_); }
  bool advanceClock(double seconds) override {
    if (!isClockStopped_) clock_.advance(seconds);
    return true;
  }

 private:
  ManualClock clock_;
  const std::shared_ptr<Cache> kept_ = std::make_shared<hostkit::MemoryCache>(clock_.function());
  const Wrap wrap_;
  const bool isClockStopped_;
};

std::set<std::string> brokenIn(const Wrap& wrap, bool isClockStopped = false) {
  const std::function<std::unique_ptr<CacheHost>()> make = [&] {
    return std::make_unique<BrokenCacheHost>(wrap, isClockStopped);
  };
  auto broken = brokenBy(make, cacheGuarantees());
  broken.merge(brokenBy(make, cacheTableGuarantees()));
  return broken;
}

template <class C>
Wrap into() {
  return [](std::shared_ptr<Cache> cache) { return std::make_shared<C>(std::move(cache)); };
}

/// A cache whose tables are of that kind.
template <class T>
class CacheOf final : public ForwardingCache {
 public:
  using ForwardingCache::ForwardingCache;

 protected:
  std::shared_ptr<CacheTable> wrapTable(std::shared_ptr<CacheTable> table, const std::string&) override {
    return std::make_shared<T>(std::move(table));
  }
};

template <class T>
std::set<std::string> brokenByTable() {
  return brokenIn(into<CacheOf<T>>());
}

TEST(BrokenCachesTest, ARightCacheBreaksNothing) {
  EXPECT_THAT(brokenIn([](std::shared_ptr<Cache> cache) { return cache; }), IsEmpty());
}

TEST(BrokenCachesTest, WhatACacheGivesBackIsShownAsText) {
  class Broken final : public ForwardingCache {
   public:
    using ForwardingCache::ForwardingCache;
    std::optional<Data> load(const std::string&) override { return Data(std::string("another one")); }
  };
  const std::function<std::unique_ptr<CacheHost>()> make = [] {
    return std::make_unique<BrokenCacheHost>(into<Broken>());
  };
  EXPECT_THAT(
      failuresOf(make, cacheGuarantees()),
      Contains(Pair("KeepsWhatWasSavedLast", AllOf(HasSubstr("\"another one\""), HasSubstr("\"first\"")))));
}

TEST(BrokenCachesTest, KeepingARemovedBlobIsFound) {
  class Broken final : public ForwardingCache {
   public:
    using ForwardingCache::ForwardingCache;
    bool remove(const std::string&) override { return true; }
  };
  EXPECT_THAT(brokenIn(into<Broken>()), ElementsAre("ARemovedBlobIsAbsentAndOthersStay"));
}

TEST(BrokenCachesTest, FailingToRemoveWhatIsNotThereIsFound) {
  class Broken final : public ForwardingCache {
   public:
    using ForwardingCache::ForwardingCache;
    bool remove(const std::string& key) override { return load(key) && ForwardingCache::remove(key); }
  };
  EXPECT_THAT(brokenIn(into<Broken>()), ElementsAre("RemovingAnAbsentBlobSucceeds"));
}

TEST(BrokenCachesTest, TakingAnEmptyBlobForNoneIsFound) {
  class Broken final : public ForwardingCache {
   public:
    using ForwardingCache::ForwardingCache;
    std::optional<Data> load(const std::string& key) override {
      auto data = ForwardingCache::load(key);
      return data && data->empty() ? std::nullopt : data;
    }
  };
  EXPECT_THAT(brokenIn(into<Broken>()), ElementsAre("AnEmptyBlobIsPresent"));
}

TEST(BrokenCachesTest, EndingKeysAtAZeroByteIsFound) {
  class Broken final : public ForwardingCache {
   public:
    using ForwardingCache::ForwardingCache;
    std::optional<Data> load(const std::string& key) override { return ForwardingCache::load(key.c_str()); }
    bool save(const Data& data, const std::string& key) override {
      return ForwardingCache::save(data, key.c_str());
    }
  };
  EXPECT_THAT(brokenIn(into<Broken>()), ElementsAre("KeysAndBlobsMayHoldAnyBytes"));
}

TEST(BrokenCachesTest, KeepingTheFirstBlobIsFound) {
  class Broken final : public ForwardingCache {
   public:
    using ForwardingCache::ForwardingCache;
    bool save(const Data& data, const std::string& key) override {
      return load(key).has_value() || ForwardingCache::save(data, key);
    }
  };
  // Several threads write blobs again, too.
  EXPECT_TRUE(brokenIn(into<Broken>()).contains("KeepsWhatWasSavedLast"));
}

TEST(BrokenCachesTest, RefusingLargeBlobsIsFound) {
  class Broken final : public ForwardingCache {
   public:
    using ForwardingCache::ForwardingCache;
    bool save(const Data& data, const std::string& key) override {
      return data.size() < 1'000'000 && ForwardingCache::save(data, key);
    }
  };
  EXPECT_THAT(brokenIn(into<Broken>()), ElementsAre("KeepsALargeBlob"));
}

TEST(BrokenCachesTest, OpeningATableThatWasNeverCreatedIsFound) {
  class Broken final : public ForwardingCache {
   public:
    using ForwardingCache::ForwardingCache;
    std::shared_ptr<CacheTable> openTable(const std::string& key) override {
      return createTable(Table::emptyWithKey(key, Table::MaxAge::sevenDays));
    }
  };
  EXPECT_THAT(brokenIn(into<Broken>()),
              ElementsAre("ACreatedTableIsEmptyAndIsFoundByItsKey", "ATableThatWasNeverCreatedIsNull"));
}

TEST(BrokenCachesTest, EmptyingATableThatIsCreatedAgainIsFound) {
  class Broken final : public ForwardingCache {
   public:
    using ForwardingCache::ForwardingCache;
    std::shared_ptr<CacheTable> createTable(const Table& table) override {
      auto created = ForwardingCache::createTable(table);
      created->purge([](const Row&) { return true; });
      return created;
    }
  };
  EXPECT_THAT(brokenIn(into<Broken>()), ElementsAre("CreatingATableAgainKeepsItsRows"));
}

TEST(BrokenCachesTest, ForgettingEverythingWithTheProcessIsFound) {
  EXPECT_THAT(
      brokenIn([](const std::shared_ptr<Cache>&) { return std::make_shared<hostkit::MemoryCache>(); }),
      testing::IsSupersetOf({"TheNextStartSeesEverything"}));
}

TEST(BrokenCachesTest, ReturningRowsThatAreTooOldIsFound) {
  EXPECT_THAT(brokenIn([](std::shared_ptr<Cache> cache) { return cache; }, /*isClockStopped=*/true),
              ElementsAre("AFoundTableHasItsAge", "ARowOverSevenDaysIsGone"));
}

TEST(BrokenCachesTest, ReturningTheNewestFirstWhereTheOldestAreAskedForIsFound) {
  class Broken final : public ForwardingCacheTable {
   public:
    using ForwardingCacheTable::ForwardingCacheTable;
    std::vector<Row> fetch(const Query& query) override {
      auto rows = ForwardingCacheTable::fetch(query);
      if (query.oldestRange()) std::reverse(rows.begin(), rows.end());
      return rows;
    }
  };
  EXPECT_THAT(brokenByTable<Broken>(),
              ElementsAre("OldestCountsOnlyTheRowsThatTheFilterAdmits", "OldestSelectsByPosition",
                          "PurgeDeletesTheRowsThatTheFilterAdmits"));
}

TEST(BrokenCachesTest, ReturningTheOldestFirstWhereTheNewestMustComeFirstIsFound) {
  class Broken final : public ForwardingCacheTable {
   public:
    using ForwardingCacheTable::ForwardingCacheTable;
    std::vector<Data> load(const Query& query) override {
      auto all = ForwardingCacheTable::load(query);
      if (!query.oldestRange()) std::reverse(all.begin(), all.end());
      return all;
    }
  };
  EXPECT_THAT(brokenByTable<Broken>(), ElementsAre("TheRowWrittenLastComesFirst"));
}

TEST(BrokenCachesTest, CountingPositionsBeforeFilteringIsFound) {
  class Broken final : public ForwardingCacheTable {
   public:
    using ForwardingCacheTable::ForwardingCacheTable;
    std::vector<Row> fetch(const Query& query) override {
      if (!query.oldestRange()) return ForwardingCacheTable::fetch(query);
      auto rows = ForwardingCacheTable::fetch(Query::oldest(*query.oldestRange()));
      std::erase_if(rows, [&](const Row& row) { return query.filter() && !(*query.filter())(row); });
      return rows;
    }
  };
  EXPECT_THAT(brokenByTable<Broken>(), ElementsAre("OldestCountsOnlyTheRowsThatTheFilterAdmits"));
}

TEST(BrokenCachesTest, AddingARowWhereOneIsReplacedIsFound) {
  class Broken final : public ForwardingCacheTable {
   public:
    using ForwardingCacheTable::ForwardingCacheTable;
    bool upsert(const CacheEntry& entry) override {
      CacheEntry other = entry;
      if (entry.dataKey == "key") other.dataKey = *entry.dataKey + std::to_string(++count_);
      return ForwardingCacheTable::upsert(other);
    }

   private:
    int count_ = 0;
  };
  EXPECT_THAT(brokenByTable<Broken>(), ElementsAre("ADataKeyReplacesTheRowOfThatKey"));
}

TEST(BrokenCachesTest, ComparingOnePairOfSeveralIsFound) {
  class Broken final : public ForwardingCacheTable {
   public:
    using ForwardingCacheTable::ForwardingCacheTable;
    std::vector<Data> load(const Query& query) override {
      const auto* pairs = query.filter() ? query.filter()->metaPairs() : nullptr;
      if (pairs == nullptr || pairs->size() < 2) return ForwardingCacheTable::load(query);
      return ForwardingCacheTable::load(Query::exact(CorvaneSDK::metaEquals({*pairs->begin()})));
    }
  };
  EXPECT_THAT(brokenByTable<Broken>(), ElementsAre("AFilterOnSeveralPairsWantsAllOfThem"));
}

TEST(BrokenCachesTest, PurgingNothingIsFound) {
  class Broken final : public ForwardingCacheTable {
   public:
    using ForwardingCacheTable::ForwardingCacheTable;
    bool purge(const RowFilter&) override { return true; }
  };
  EXPECT_THAT(brokenByTable<Broken>(), ElementsAre("PurgeDeletesTheRowsThatTheFilterAdmits"));
}

TEST(BrokenCachesTest, DroppingARowWithoutDataIsFound) {
  class Broken final : public ForwardingCacheTable {
   public:
    using ForwardingCacheTable::ForwardingCacheTable;
    bool upsert(const CacheEntry& entry) override {
      return entry.data.empty() || ForwardingCacheTable::upsert(entry);
    }
  };
  EXPECT_THAT(brokenByTable<Broken>(), ElementsAre("ARowMayHaveEmptyData"));
}

}  // namespace
}  // namespace vellora::conformance::tests
