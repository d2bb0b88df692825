#include "tests/hostkit/CacheConformance.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace vellora::hostkit::tests {
namespace {

template <class Kind>
using CacheTableConformanceTest = CacheConformance<Kind>;

TYPED_TEST_SUITE(CacheTableConformanceTest, CacheKinds);

TYPED_TEST(CacheTableConformanceTest, ARowIsFetchedAsItWasWritten) {
  const auto table = this->emptyTable();
  EXPECT_TRUE(table->upsert({blob("1"), {{"kind", "item"}, {"name", "a"}}, "key of a"}));

  EXPECT_THAT(table->fetch(Query::exact(everyRow())),
              ElementsAre(Row{{{"kind", "item"}, {"name", "a"}}, "key of a"}));
  EXPECT_THAT(texts(table->load(Query::exact(everyRow()))), ElementsAre("1"));
}

TYPED_TEST(CacheTableConformanceTest, ADataKeyReplacesTheRowOfThatKey) {
  const auto table = this->emptyTable();
  table->upsert(item("a", "1", "key"));
  table->upsert(item("b", "2", "other"));
  table->upsert(item("c", "3", "key"));

  EXPECT_THAT(texts(table->load(Query::oldest({}))), ElementsAre("2", "3"));
  EXPECT_THAT(table->fetch(Query::exact(metaEquals({{"name", "a"}}))), IsEmpty());
}

TYPED_TEST(CacheTableConformanceTest, EqualMetaWithoutDataKeyReplacesAndBecomesNewest) {
  const auto table = this->emptyTable();
  table->upsert(item("a", "1"));
  table->upsert(item("b", "2"));
  table->upsert(item("a", "3"));

  EXPECT_THAT(texts(table->load(Query::oldest({}))), ElementsAre("2", "3"));
}

TYPED_TEST(CacheTableConformanceTest, RowsWithoutDataKeyGetKeysOfTheirOwn) {
  const auto table = this->emptyTable();
  table->upsert({blob("1"), {}, std::nullopt});
  table->upsert({blob("2"), {{"a", "b"}}, std::nullopt});
  table->upsert({blob("3"), {{"ab", ""}}, std::nullopt});
  table->upsert({blob("4"), {{"", "ab"}}, std::nullopt});
  table->upsert({blob("5"), {{"a", "1:b"}}, std::nullopt});
  table->upsert({blob("6"), {{"a", "b"}, {"c", "d"}}, std::nullopt});

  EXPECT_THAT(texts(table->load(Query::oldest({}))), ElementsAre("1", "2", "3", "4", "5", "6"));
}

TYPED_TEST(CacheTableConformanceTest, TheKeyThatARowWasGivenNamesItInLaterWrites) {
  const auto table = this->emptyTable();
  table->upsert(item("a", "1"));
  const std::vector<Row> rows = table->fetch(Query::exact(everyRow()));
  ASSERT_EQ(rows.size(), 1U);

  table->upsert(item("b", "2", rows[0].dataKey));

  EXPECT_THAT(texts(table->load(Query::exact(everyRow()))), ElementsAre("2"));
}

TYPED_TEST(CacheTableConformanceTest, MetaKeysAndDataMayHoldAnyBytes) {
  const auto table = this->emptyTable();
  const std::string bytes = everyByteValue();
  table->upsert({blob(bytes), {{bytes, bytes}, {std::string("a\0b", 3), ""}}, bytes});
  const Meta meta{{bytes, bytes}, {std::string("a\0b", 3), ""}};

  EXPECT_THAT(table->fetch(Query::exact(metaEquals({{bytes, bytes}}))), ElementsAre(Row{meta, bytes}));
  EXPECT_THAT(texts(table->load(Query::exact(keyed(bytes)))), ElementsAre(bytes));
  EXPECT_THAT(table->fetch(Query::exact(metaEquals({{"a", ""}}))), IsEmpty());
}

TYPED_TEST(CacheTableConformanceTest, ARowMayHaveEmptyData) {
  const auto table = this->emptyTable();
  table->upsert(item("a", ""));
  EXPECT_THAT(texts(table->load(Query::exact(everyRow()))), ElementsAre(""));
}

TYPED_TEST(CacheTableConformanceTest, AFilterOnMetaPairsYieldsWhatAPlainPredicateYields) {
  const auto table = this->emptyTable();
  addItems(*table, {"a", "b", "c"});
  table->upsert({blob("list"), {{"kind", "list"}}, std::nullopt});
  table->upsert({blob("second b"), {{"kind", "item"}, {"name", "b"}, {"extra", "x"}}, std::nullopt});

  EXPECT_THAT(texts(table->load(Query::exact(metaEquals({{"name", "b"}})))),
              ElementsAre("second b", "data of b"));
  EXPECT_EQ(table->fetch(Query::exact(metaEquals({{"name", "b"}}))), table->fetch(Query::exact(named("b"))));
}

TYPED_TEST(CacheTableConformanceTest, AFilterOnSeveralPairsWantsAllOfThem) {
  const auto table = this->emptyTable();
  addItems(*table, {"a", "b"});
  table->upsert({blob("other kind"), {{"kind", "list"}, {"name", "a"}}, std::nullopt});

  EXPECT_THAT(texts(table->load(Query::exact(metaEquals({{"kind", "item"}, {"name", "a"}})))),
              ElementsAre("data of a"));
  EXPECT_THAT(table->load(Query::exact(metaEquals({{"kind", "list"}, {"name", "b"}}))), IsEmpty());
  EXPECT_THAT(table->load(Query::exact(metaEquals({{"name", "a"}, {"unknown", "x"}}))), IsEmpty());
}

TYPED_TEST(CacheTableConformanceTest, AFilterWithoutPairsAdmitsEveryRow) {
  const auto table = this->emptyTable();
  addItems(*table, {"a", "b"});
  EXPECT_THAT(names(table->fetch(Query::exact(metaEquals({})))), UnorderedElementsAre("a", "b"));
}

TYPED_TEST(CacheTableConformanceTest, TheRowWrittenLastComesFirst) {
  const auto table = this->emptyTable();
  table->upsert(item("a", "1", "first key"));
  table->upsert(item("a", "2", "second key"));
  table->upsert(item("a", "3"));
  EXPECT_THAT(texts(table->load(Query::exact(metaEquals({{"name", "a"}})))), ElementsAre("3", "2", "1"));

  table->upsert(item("a", "4", "first key"));
  EXPECT_THAT(texts(table->load(Query::exact(named("a")))), ElementsAre("4", "3", "2"));
}

TYPED_TEST(CacheTableConformanceTest, NewestIsTheLastWrittenEvenWhenTheClockWasSetBack) {
  const auto table = this->emptyTable();
  table->upsert(item("a", "1", "first key"));
  this->clock.advance(-3600);
  table->upsert(item("a", "2", "second key"));

  EXPECT_THAT(texts(table->load(Query::exact(metaEquals({{"name", "a"}})))), ElementsAre("2", "1"));
  EXPECT_THAT(texts(table->load(Query::oldest({}))), ElementsAre("1", "2"));
}

TYPED_TEST(CacheTableConformanceTest, ARowWithoutADateIsNotWrittenAndHarmsNoOther) {
  const auto table = this->emptyTable();
  table->upsert(item("a", "1", "key of a"));
  const Date date = this->clock.function()();
  this->clock.set(Date::sinceReferenceDate(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_FALSE(table->upsert(item("b", "2", "key of b")));
  EXPECT_THAT(table->load(Query::oldest({})), IsEmpty());
  this->clock.set(date);
  EXPECT_THAT(texts(table->load(Query::oldest({}))), ElementsAre("1"));
}

TYPED_TEST(CacheTableConformanceTest, AFilterMayUseTheTable) {
  const auto table = this->emptyTable();
  addItems(*table, {"a", "b"});

  const RowFilter reentrant = [&table](const Row& row) {
    return table->fetch(Query::exact(metaEquals({{"name", row.meta.at("name")}}))).size() == 1;
  };

  EXPECT_THAT(names(table->fetch(Query::exact(reentrant))), UnorderedElementsAre("a", "b"));
  EXPECT_TRUE(table->purge(reentrant));
  EXPECT_THAT(table->fetch(Query::exact(everyRow())), IsEmpty());
}

TYPED_TEST(CacheTableConformanceTest, OldestSelectsByPosition) {
  const auto table = this->emptyTable();
  addItems(*table, {"a", "b", "c", "d"});
  const auto at = [&table](std::int64_t lower, std::int64_t upper) {
    return names(table->fetch(Query::oldest(PositionRange{lower, upper})));
  };
  constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
  constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();

  EXPECT_THAT(at(0, most), ElementsAre("a", "b", "c", "d"));
  EXPECT_THAT(at(0, 2), ElementsAre("a", "b"));
  EXPECT_THAT(at(1, 3), ElementsAre("b", "c"));
  EXPECT_THAT(at(3, 100), ElementsAre("d"));
  EXPECT_THAT(at(2, 2), IsEmpty());
  EXPECT_THAT(at(0, 0), IsEmpty());
  EXPECT_THAT(at(3, 1), IsEmpty());
  EXPECT_THAT(at(4, most), IsEmpty());
  EXPECT_THAT(at(most, most), IsEmpty());
  EXPECT_THAT(at(-2, 1), ElementsAre("a"));
  EXPECT_THAT(at(least, most), ElementsAre("a", "b", "c", "d"));
  EXPECT_THAT(at(-5, -1), IsEmpty());
  EXPECT_THAT(at(-5, 0), IsEmpty());
}

TYPED_TEST(CacheTableConformanceTest, OldestCountsOnlyTheRowsThatTheFilterAdmits) {
  const auto table = this->emptyTable();
  addItems(*table, {"a", "b"});
  table->upsert({blob("list"), {{"kind", "list"}, {"name", "all"}}, std::nullopt});
  addItems(*table, {"c"});
  const RowFilter items = [](const Row& row) { return row.meta.at("kind") == "item"; };

  EXPECT_THAT(names(table->fetch(Query::oldest({1, 3}, metaEquals({{"kind", "item"}})))),
              ElementsAre("b", "c"));
  EXPECT_THAT(names(table->fetch(Query::oldest({1, 3}, items))), ElementsAre("b", "c"));
  EXPECT_THAT(texts(table->load(Query::oldest({0, 1}, items))), ElementsAre("data of a"));
}

TYPED_TEST(CacheTableConformanceTest, PurgeDeletesTheRowsThatTheFilterAdmits) {
  const auto table = this->emptyTable();
  addItems(*table, {"a", "b", "c", "d"});
  const std::string keyOfA = table->fetch(Query::oldest({0, 1})).at(0).dataKey;

  EXPECT_TRUE(table->purge(keyed(keyOfA)));
  EXPECT_THAT(names(table->fetch(Query::oldest({}))), ElementsAre("b", "c", "d"));
  EXPECT_TRUE(table->purge(metaEquals({{"name", "c"}})));
  EXPECT_THAT(names(table->fetch(Query::oldest({}))), ElementsAre("b", "d"));
  EXPECT_TRUE(table->purge(named("none of that name")));
  EXPECT_THAT(names(table->fetch(Query::oldest({}))), ElementsAre("b", "d"));
  EXPECT_TRUE(table->purge(everyRow()));
  EXPECT_THAT(table->fetch(Query::oldest({})), IsEmpty());
  EXPECT_THAT(table->fetch(Query::exact(metaEquals({{"kind", "item"}}))), IsEmpty());
}

TYPED_TEST(CacheTableConformanceTest, APurgedRowCanBeWrittenAgain) {
  const auto table = this->emptyTable();
  addItems(*table, {"a", "b"});
  table->purge(everyRow());

  table->upsert(item("a", "again"));

  EXPECT_THAT(texts(table->load(Query::exact(metaEquals({{"name", "a"}})))), ElementsAre("again"));
}

TYPED_TEST(CacheTableConformanceTest, ARowOfExactlySevenDaysIsStillThere) {
  const auto table = this->emptyTable();
  addItems(*table, {"a"});
  this->clock.advance(sevenDays);
  EXPECT_THAT(names(table->fetch(Query::exact(metaEquals({{"name", "a"}})))), ElementsAre("a"));
  EXPECT_THAT(names(table->fetch(Query::exact(everyRow()))), ElementsAre("a"));
}

TYPED_TEST(CacheTableConformanceTest, ARowJustOverSevenDaysIsGone) {
  const auto table = this->emptyTable();
  addItems(*table, {"a"});
  this->clock.advance(1);
  addItems(*table, {"b"});

  this->clock.advance(sevenDays - 0.5);

  EXPECT_THAT(names(table->fetch(Query::exact(metaEquals({{"kind", "item"}})))), ElementsAre("b"));
  EXPECT_THAT(names(table->fetch(Query::exact(everyRow()))), ElementsAre("b"));
  EXPECT_THAT(names(table->fetch(Query::oldest({0, 1}))), ElementsAre("b"));
  EXPECT_THAT(texts(table->load(Query::oldest({}))), ElementsAre("data of b"));
}

TYPED_TEST(CacheTableConformanceTest, WritingARowAgainMakesItYoung) {
  const auto table = this->emptyTable();
  addItems(*table, {"a"});
  this->clock.advance(sevenDays);
  addItems(*table, {"a"});
  this->clock.advance(sevenDays);
  EXPECT_THAT(names(table->fetch(Query::exact(everyRow()))), ElementsAre("a"));
}

TYPED_TEST(CacheTableConformanceTest, TheNextWriteDeletesRowsThatAreTooOld) {
  const auto table = this->emptyTable();
  addItems(*table, {"a"});
  this->clock.advance(sevenDays + 1);
  addItems(*table, {"b"});

  this->clock.advance(-sevenDays);

  EXPECT_THAT(names(table->fetch(Query::exact(everyRow()))), ElementsAre("b"));
}

TYPED_TEST(CacheTableConformanceTest, ARowFromTheFutureIsKeptNoLongerThanOneFromThePast) {
  const auto table = this->emptyTable();
  addItems(*table, {"a"});
  this->clock.advance(-sevenDays);
  EXPECT_THAT(names(table->fetch(Query::exact(everyRow()))), ElementsAre("a"));
  this->clock.advance(-1);
  EXPECT_THAT(table->fetch(Query::exact(everyRow())), IsEmpty());
}

TYPED_TEST(CacheTableConformanceTest, BlobsHaveNoAge) {
  this->cache->save(blob("1"), "stamp");
  this->clock.advance(100 * sevenDays);
  EXPECT_EQ(this->cache->load("stamp"), blob("1"));
}

}  // namespace
}  // namespace vellora::hostkit::tests
