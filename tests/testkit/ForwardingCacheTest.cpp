#include "testkit/ForwardingCache.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

#include "testkit/ForwardingCacheTable.h"
#include "tests/testkit/TinyCache.h"

namespace vellora::testkit {
namespace {

using CorvaneSDK::CacheTable;
using CorvaneSDK::metaEquals;
using CorvaneSDK::Query;
using CorvaneSDK::Table;

const Table themes = Table::emptyWithKey("Themes", Table::MaxAge::sevenDays);

TEST(ForwardingCacheTest, PassesBlobCallsOn) {
  const auto real = std::make_shared<TinyCache>();
  ForwardingCache cache(real);

  EXPECT_TRUE(cache.save(Data(std::string("blob")), "key"));
  EXPECT_EQ(real->load("key"), Data(std::string("blob")));
  EXPECT_EQ(cache.load("key"), Data(std::string("blob")));
  EXPECT_TRUE(cache.remove("key"));
  EXPECT_EQ(real->load("key"), std::nullopt);
}

TEST(ForwardingCacheTest, HandsOutTheTablesOfTheOtherCache) {
  const auto real = std::make_shared<TinyCache>();
  ForwardingCache cache(real);

  EXPECT_EQ(cache.openTable("Themes"), nullptr);
  const auto created = cache.createTable(themes);
  EXPECT_EQ(created, real->openTable("Themes"));
  EXPECT_EQ(cache.openTable("Themes"), created);
}

class CountingCache final : public ForwardingCache {
 public:
  using ForwardingCache::ForwardingCache;
  void releaseMemory() override { ++releases; }

  int releases = 0;
};

TEST(ForwardingCacheTest, HasTheOtherCacheReleaseItsMemory) {
  const auto counting = std::make_shared<CountingCache>(std::make_shared<TinyCache>());
  ForwardingCache cache(counting);
  cache.releaseMemory();
  EXPECT_EQ(counting->releases, 1);
}

class DeafTable : public ForwardingCacheTable {
 public:
  using ForwardingCacheTable::ForwardingCacheTable;
  bool upsert(const CorvaneSDK::CacheEntry&) override { return false; }
};

class DeafTables : public ForwardingCache {
 public:
  using ForwardingCache::ForwardingCache;

 private:
  std::shared_ptr<CacheTable> wrapTable(std::shared_ptr<CacheTable> table, const std::string& key) override {
    EXPECT_EQ(key, "Themes");
    return std::make_shared<DeafTable>(std::move(table));
  }
};

TEST(ForwardingCacheTest, WrapTableStandsInForOpenedAndCreatedTables) {
  const auto real = std::make_shared<TinyCache>();
  DeafTables cache(real);

  EXPECT_EQ(cache.openTable("Themes"), nullptr);
  EXPECT_FALSE(cache.createTable(themes)->upsert({Data(), {{"kind", "list"}}, std::nullopt}));
  EXPECT_FALSE(cache.openTable("Themes")->upsert({Data(), {{"kind", "list"}}, std::nullopt}));
  EXPECT_TRUE(real->openTable("Themes")->fetch(Query::exact(metaEquals({}))).empty());
}

}  // namespace
}  // namespace vellora::testkit
