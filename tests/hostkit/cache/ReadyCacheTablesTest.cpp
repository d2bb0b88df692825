#include "tests/hostkit/cache/ReadyCaches.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace vellora::hostkit::tests {
namespace {

// What both tables promise beyond the contract, which they are tried on in tests/conformance.

template <class Kind>
using ReadyCacheTablesTest = ReadyCaches<Kind>;

TYPED_TEST_SUITE(ReadyCacheTablesTest, CacheKinds);

TYPED_TEST(ReadyCacheTablesTest, EqualMetaWithoutDataKeyReplacesAndBecomesNewest) {
  const auto table = this->emptyTable();
  table->upsert(item("a", "1"));
  table->upsert(item("b", "2"));
  table->upsert(item("a", "3"));

  EXPECT_THAT(texts(table->load(Query::oldest({}))), ElementsAre("2", "3"));
}

TYPED_TEST(ReadyCacheTablesTest, TheRowWrittenLastComesFirst) {
  const auto table = this->emptyTable();
  table->upsert(item("a", "1", "first key"));
  table->upsert(item("a", "2", "second key"));
  table->upsert(item("a", "3"));
  EXPECT_THAT(texts(table->load(Query::exact(metaEquals({{"name", "a"}})))), ElementsAre("3", "2", "1"));

  table->upsert(item("a", "4", "first key"));
  EXPECT_THAT(texts(table->load(Query::exact(named("a")))), ElementsAre("4", "3", "2"));
}

TYPED_TEST(ReadyCacheTablesTest, AFilterOnTheDataKeyAdmitsThatRowAlone) {
  const auto table = this->emptyTable();
  addItems(*table, {"a", "b"});
  table->upsert(item("c", "3", "key of c"));

  EXPECT_THAT(texts(table->load(Query::exact(dataKeyEquals("key of c")))), ElementsAre("3"));
  EXPECT_THAT(table->load(Query::exact(dataKeyEquals("key of"))), IsEmpty());
  EXPECT_TRUE(table->purge(dataKeyEquals("key of nobody")));
  EXPECT_THAT(names(table->fetch(Query::oldest({}))), ElementsAre("a", "b", "c"));
  EXPECT_TRUE(table->purge(dataKeyEquals("key of c")));
  EXPECT_THAT(names(table->fetch(Query::oldest({}))), ElementsAre("a", "b"));
  EXPECT_THAT(table->load(Query::exact(dataKeyEquals("key of c"))), IsEmpty());
}

TYPED_TEST(ReadyCacheTablesTest, NewestIsTheLastWrittenEvenWhenTheClockWasSetBack) {
  const auto table = this->emptyTable();
  table->upsert(item("a", "1", "first key"));
  this->clock.advance(-3600);
  table->upsert(item("a", "2", "second key"));

  EXPECT_THAT(texts(table->load(Query::exact(metaEquals({{"name", "a"}})))), ElementsAre("2", "1"));
  EXPECT_THAT(texts(table->load(Query::oldest({}))), ElementsAre("1", "2"));
}

TYPED_TEST(ReadyCacheTablesTest, ARowWithoutADateIsNotWrittenAndHarmsNoOther) {
  const auto table = this->emptyTable();
  table->upsert(item("a", "1", "key of a"));
  const Date date = this->clock.function()();
  this->clock.set(Date::sinceReferenceDate(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_FALSE(table->upsert(item("b", "2", "key of b")));
  EXPECT_THAT(table->load(Query::oldest({})), IsEmpty());
  this->clock.set(date);
  EXPECT_THAT(texts(table->load(Query::oldest({}))), ElementsAre("1"));
}

TYPED_TEST(ReadyCacheTablesTest, AFilterMayUseTheTable) {
  const auto table = this->emptyTable();
  addItems(*table, {"a", "b"});

  const RowFilter reentrant = [&table](const Row& row) {
    return table->fetch(Query::exact(metaEquals({{"name", row.meta.at("name")}}))).size() == 1;
  };

  EXPECT_THAT(names(table->fetch(Query::exact(reentrant))), UnorderedElementsAre("a", "b"));
  EXPECT_TRUE(table->purge(reentrant));
  EXPECT_THAT(table->fetch(Query::exact(everyRow())), IsEmpty());
}

TYPED_TEST(ReadyCacheTablesTest, ARowOfExactlySevenDaysIsStillThere) {
  const auto table = this->emptyTable();
  addItems(*table, {"a"});
  this->clock.advance(sevenDays);
  EXPECT_THAT(names(table->fetch(Query::exact(metaEquals({{"name", "a"}})))), ElementsAre("a"));
  EXPECT_THAT(names(table->fetch(Query::exact(everyRow()))), ElementsAre("a"));
}

TYPED_TEST(ReadyCacheTablesTest, TheNextWriteDeletesRowsThatAreTooOld) {
  const auto table = this->emptyTable();
  addItems(*table, {"a"});
  this->clock.advance(sevenDays + 1);
  addItems(*table, {"b"});

  this->clock.advance(-sevenDays);

  EXPECT_THAT(names(table->fetch(Query::exact(everyRow()))), ElementsAre("b"));
}

TYPED_TEST(ReadyCacheTablesTest, ARowFromTheFutureIsKeptNoLongerThanOneFromThePast) {
  const auto table = this->emptyTable();
  addItems(*table, {"a"});
  this->clock.advance(-sevenDays);
  EXPECT_THAT(names(table->fetch(Query::exact(everyRow()))), ElementsAre("a"));
  this->clock.advance(-1);
  EXPECT_THAT(table->fetch(Query::exact(everyRow())), IsEmpty());
}

}  // namespace
}  // namespace vellora::hostkit::tests
