#include "testkit/FailingCache.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/testkit/TinyCache.h"

namespace vellora::testkit {
namespace {

using CorvaneSDK::metaEquals;
using CorvaneSDK::Query;
using CorvaneSDK::Row;
using CorvaneSDK::Table;
using Operation = FailingCache::Operation;
using Texts = std::vector<std::string>;

class FailingCacheTest : public testing::Test {
 protected:
  const Table themes = Table::emptyWithKey("Themes", Table::MaxAge::sevenDays);
  const Query lists = Query::exact(metaEquals({{"kind", "list"}}));
  const CorvaneSDK::CacheEntry list{Data(std::string("rows")), {{"kind", "list"}}, std::nullopt};
  const Data blob{std::string("blob")};

  const std::shared_ptr<TinyCache> real = std::make_shared<TinyCache>();
  FailingCache cache{real};
};

TEST_F(FailingCacheTest, PassesEverythingOnUntilToldToFail) {
  EXPECT_TRUE(cache.save(blob, "key"));
  EXPECT_EQ(cache.load("key"), blob);
  EXPECT_TRUE(cache.remove("key"));
  const auto table = cache.createTable(themes);
  EXPECT_TRUE(table->upsert(list));
  EXPECT_EQ(cache.openTable("Themes")->load(lists), std::vector{list.data});
  EXPECT_EQ(table->fetch(lists), (std::vector<Row>{{list.meta, "0"}}));
  EXPECT_TRUE(table->purge(metaEquals({{"kind", "list"}})));
  EXPECT_TRUE(real->openTable("Themes")->fetch(lists).empty());
}

TEST_F(FailingCacheTest, AFailedSaveDoesNotReachTheCache) {
  cache.fail(Operation::save);
  EXPECT_FALSE(cache.save(blob, "key"));
  EXPECT_EQ(real->load("key"), std::nullopt);
}

TEST_F(FailingCacheTest, AFailedLoadFindsNothing) {
  real->save(blob, "key");
  cache.fail(Operation::load);
  EXPECT_EQ(cache.load("key"), std::nullopt);
}

TEST_F(FailingCacheTest, AFailedRemoveLeavesTheBlob) {
  real->save(blob, "key");
  cache.fail(Operation::remove);
  EXPECT_FALSE(cache.remove("key"));
  EXPECT_EQ(real->load("key"), blob);
}

TEST_F(FailingCacheTest, FailsOnlyTheKeysThatAreChosen) {
  cache.fail(Operation::save, "bad");
  EXPECT_TRUE(cache.save(blob, "good"));
  EXPECT_FALSE(cache.save(blob, "bad"));

  cache.fail(Operation::save, [](const std::string& key) { return key.starts_with("go"); });
  EXPECT_FALSE(cache.save(blob, "good"));
  EXPECT_TRUE(cache.save(blob, "bad"));
}

TEST_F(FailingCacheTest, MendLetsCallsPassAgain) {
  cache.fail(Operation::save);
  cache.mend(Operation::save);
  EXPECT_TRUE(cache.save(blob, "key"));
}

TEST_F(FailingCacheTest, ATableThatFailsToOpenIsNull) {
  ASSERT_NE(real->createTable(themes), nullptr);
  cache.fail(Operation::openTable);
  EXPECT_EQ(cache.openTable("Themes"), nullptr);
}

TEST_F(FailingCacheTest, ATableThatFailsToBeCreatedStaysEmpty) {
  cache.fail(Operation::createTable);
  const auto table = cache.createTable(themes);
  ASSERT_NE(table, nullptr);
  EXPECT_FALSE(table->upsert(list));
  EXPECT_TRUE(table->load(lists).empty());
  EXPECT_TRUE(table->fetch(lists).empty());
  EXPECT_FALSE(table->purge(metaEquals({})));
  EXPECT_EQ(real->openTable("Themes"), nullptr);
  EXPECT_EQ(cache.callTexts(), (Texts{"createTable Themes (failed)", "tableUpsert Themes kind=list (failed)",
                                      "tableLoad Themes kind=list (failed)",
                                      "tableFetch Themes kind=list (failed)", "tablePurge Themes (failed)"}));
}

TEST_F(FailingCacheTest, FailsCallsOnItsTables) {
  const auto table = cache.createTable(themes);
  table->upsert(list);
  for (const Operation operation :
       {Operation::tableLoad, Operation::tableFetch, Operation::tablePurge, Operation::tableUpsert}) {
    cache.fail(operation, "Themes");
  }

  EXPECT_TRUE(table->load(lists).empty());
  EXPECT_TRUE(table->fetch(lists).empty());
  EXPECT_FALSE(table->purge(metaEquals({{"kind", "list"}})));
  EXPECT_FALSE(table->upsert(list));
  EXPECT_EQ(real->openTable("Themes")->load(lists), std::vector{list.data});
}

TEST_F(FailingCacheTest, RecordsBlobAndTableCallsInOneOrder) {
  cache.fail(Operation::remove);
  const auto table = cache.createTable(themes);
  table->upsert(list);
  cache.save(blob, "stamp");
  cache.remove("stamp");

  EXPECT_EQ(cache.callTexts(), (Texts{"createTable Themes", "tableUpsert Themes kind=list", "save stamp",
                                      "remove stamp (failed)"}));
  EXPECT_EQ(cache.calls()[1], (HostCall{Operation::tableUpsert, "Themes", {{"kind", "list"}}, false}));
  cache.clearCalls();
  EXPECT_TRUE(cache.calls().empty());
}

TEST_F(FailingCacheTest, TablesOutliveTheCacheThatHandedThemOut) {
  auto gone = std::make_unique<FailingCache>(real);
  gone->fail(Operation::tableUpsert);
  const auto table = gone->createTable(themes);
  gone.reset();
  EXPECT_FALSE(table->upsert(list));
}

}  // namespace
}  // namespace vellora::testkit
