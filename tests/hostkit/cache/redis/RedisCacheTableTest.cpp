#include "hostkit/cache/redis/RedisCacheTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>

#include "tests/hostkit/cache/redis/RedisFixture.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::hostkit::tests {
namespace {

using conformance::addItems;
using conformance::everyRow;
using conformance::item;
using conformance::names;
using conformance::sevenDays;
using conformance::texts;
using CorvaneSDK::dataKeyEquals;
using CorvaneSDK::metaEquals;
using CorvaneSDK::Query;
using CorvaneSDK::Row;
using CorvaneSDK::RowFilter;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class RedisCacheTableTest : public RedisFixture {
 protected:
  const std::shared_ptr<RedisCache> cache = open();
  const std::shared_ptr<CorvaneSDK::CacheTable> table = conformance::emptyTable(*cache);
};

TEST_F(RedisCacheTableTest, EqualMetaWithoutDataKeyReplacesAndBecomesNewest) {
  table->upsert(item("a", "1"));
  table->upsert(item("b", "2"));
  table->upsert(item("a", "3"));
  EXPECT_THAT(texts(table->load(Query::oldest({}))), ElementsAre("2", "3"));
}

TEST_F(RedisCacheTableTest, TheRowWrittenLastComesFirst) {
  table->upsert(item("a", "1", "first key"));
  table->upsert(item("a", "2", "second key"));
  table->upsert(item("a", "3", "first key"));
  EXPECT_THAT(texts(table->load(Query::exact(metaEquals({{"name", "a"}})))), ElementsAre("3", "2"));
}

TEST_F(RedisCacheTableTest, AFilterOnTheDataKeyAdmitsThatRowAlone) {
  addItems(*table, {"a", "b"});
  table->upsert(item("c", "3", "key of c"));
  EXPECT_THAT(texts(table->load(Query::exact(dataKeyEquals("key of c")))), ElementsAre("3"));
  EXPECT_THAT(table->load(Query::exact(dataKeyEquals("key of"))), IsEmpty());
  EXPECT_TRUE(table->purge(dataKeyEquals("key of c")));
  EXPECT_THAT(names(table->fetch(Query::oldest({}))), ElementsAre("a", "b"));
}

TEST_F(RedisCacheTableTest, APurgeThatFindsNothingDeletesNothing) {
  addItems(*table, {"a"});
  server.forgetCalls();
  EXPECT_TRUE(table->purge(dataKeyEquals("no such key")));
  EXPECT_EQ(server.callsOf("eval"), 1) << "the rows are looked for";
}

TEST_F(RedisCacheTableTest, NewestIsTheLastWrittenEvenWhenTheClockWasSetBack) {
  table->upsert(item("a", "1", "first key"));
  clock.advance(-3600);
  table->upsert(item("a", "2", "second key"));
  EXPECT_THAT(texts(table->load(Query::oldest({}))), ElementsAre("1", "2"));
}

TEST_F(RedisCacheTableTest, ARowWithoutADateIsNotWritten) {
  clock.set(Date::sinceReferenceDate(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_FALSE(table->upsert(item("b", "2", "key of b")));
}

TEST_F(RedisCacheTableTest, AFilterMayUseTheTable) {
  addItems(*table, {"a", "b"});
  const RowFilter reentrant = [this](const Row& row) {
    return table->fetch(Query::exact(metaEquals({{"name", row.meta.at("name")}}))).size() == 1;
  };
  EXPECT_THAT(names(table->fetch(Query::exact(reentrant))), UnorderedElementsAre("a", "b"));
  EXPECT_TRUE(table->purge(reentrant));
  EXPECT_THAT(table->fetch(Query::exact(everyRow())), IsEmpty());
}

TEST_F(RedisCacheTableTest, ARowOfExactlySevenDaysIsStillThere) {
  addItems(*table, {"a"});
  clock.advance(sevenDays);
  EXPECT_THAT(names(table->fetch(Query::exact(metaEquals({{"name", "a"}})))), ElementsAre("a"));
  clock.advance(1);
  EXPECT_THAT(table->fetch(Query::exact(metaEquals({{"name", "a"}}))), IsEmpty());
}

TEST_F(RedisCacheTableTest, ARowFromTheFutureIsKeptNoLongerThanOneFromThePast) {
  addItems(*table, {"a"});
  clock.advance(-sevenDays);
  EXPECT_THAT(names(table->fetch(Query::exact(everyRow()))), ElementsAre("a"));
  clock.advance(-1);
  EXPECT_THAT(table->fetch(Query::exact(everyRow())), IsEmpty());
}

TEST_F(RedisCacheTableTest, AServerThatIsGoneIsAMissAndATableThatGoesOnWhenItIsBack) {
  server.kill();
  EXPECT_FALSE(table->upsert(item("a", "1")));
  EXPECT_THAT(table->load(Query::oldest({})), IsEmpty());
  EXPECT_FALSE(table->purge(everyRow()));
  server.start();
  EXPECT_TRUE(table->upsert(item("a", "1")));
  EXPECT_THAT(texts(table->load(Query::oldest({}))), ElementsAre("1"));
  EXPECT_NE(cache->openTable("Rows"), nullptr);
}

}  // namespace
}  // namespace vellora::hostkit::tests
