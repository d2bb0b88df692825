#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "conformance/CacheConformance.h"
#include "conformance/CacheSamples.h"
#include "conformance/Texts.h"
#include "vellora/Host/CacheTable.h"

namespace vellora::conformance {

namespace {

using CorvaneSDK::Meta;
using CorvaneSDK::metaEquals;
using CorvaneSDK::PositionRange;
using CorvaneSDK::Query;
using CorvaneSDK::Row;
using CorvaneSDK::RowFilter;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;

constexpr Guarantee<CacheHost> guarantees[] = {
    {"ARowIsFetchedAsItWasWritten",
     [](CacheHost& host) {
       const auto cache = host.open();
       const auto table = emptyTable(*cache);
       EXPECT_TRUE(table->upsert({blob("1"), {{"kind", "item"}, {"name", "a"}}, "key of a"}));

       EXPECT_THAT(table->fetch(Query::exact(everyRow())),
                   ElementsAre(Row{{{"kind", "item"}, {"name", "a"}}, "key of a"}));
       EXPECT_THAT(texts(table->load(Query::exact(everyRow()))), ElementsAre("1"));
     }},
    {"ADataKeyReplacesTheRowOfThatKey",
     [](CacheHost& host) {
       const auto cache = host.open();
       const auto table = emptyTable(*cache);
       table->upsert(item("a", "1", "key"));
       table->upsert(item("b", "2", "other"));
       table->upsert(item("c", "3", "key"));

       EXPECT_THAT(texts(table->load(Query::oldest({}))), ElementsAre("2", "3"));
       EXPECT_THAT(table->fetch(Query::exact(metaEquals({{"name", "a"}}))), IsEmpty());
     }},
    {"RowsWithoutDataKeyGetKeysOfTheirOwn",
     [](CacheHost& host) {
       const auto cache = host.open();
       const auto table = emptyTable(*cache);
       table->upsert({blob("1"), {}, std::nullopt});
       table->upsert({blob("2"), {{"a", "b"}}, std::nullopt});
       table->upsert({blob("3"), {{"ab", ""}}, std::nullopt});
       table->upsert({blob("4"), {{"", "ab"}}, std::nullopt});
       table->upsert({blob("5"), {{"a", "1:b"}}, std::nullopt});
       table->upsert({blob("6"), {{"a", "b"}, {"c", "d"}}, std::nullopt});

       EXPECT_THAT(texts(table->load(Query::oldest({}))), ElementsAre("1", "2", "3", "4", "5", "6"));
     }},
    {"TheKeyThatARowWasGivenNamesItInLaterWrites",
     [](CacheHost& host) {
       const auto cache = host.open();
       const auto table = emptyTable(*cache);
       table->upsert(item("a", "1"));
       const std::vector<Row> rows = table->fetch(Query::exact(everyRow()));
       ASSERT_EQ(rows.size(), 1U);

       table->upsert(item("b", "2", rows[0].dataKey));

       EXPECT_THAT(texts(table->load(Query::exact(everyRow()))), ElementsAre("2"));
     }},
    {"MetaKeysAndDataMayHoldAnyBytes",
     [](CacheHost& host) {
       const auto cache = host.open();
       const auto table = emptyTable(*cache);
       const std::string bytes = everyByteValue();
       table->upsert({blob(bytes), {{bytes, bytes}, {std::string("a\0b", 3), ""}}, bytes});
       const Meta meta{{bytes, bytes}, {std::string("a\0b", 3), ""}};

       EXPECT_THAT(table->fetch(Query::exact(metaEquals({{bytes, bytes}}))), ElementsAre(Row{meta, bytes}));
       EXPECT_THAT(texts(table->load(Query::exact(keyed(bytes)))), ElementsAre(bytes));
       EXPECT_THAT(table->fetch(Query::exact(metaEquals({{"a", ""}}))), IsEmpty());
     }},
    {"ARowMayHaveEmptyData",
     [](CacheHost& host) {
       const auto cache = host.open();
       const auto table = emptyTable(*cache);
       table->upsert(item("a", ""));
       EXPECT_THAT(texts(table->load(Query::exact(everyRow()))), ElementsAre(""));
     }},
    {"AFilterOnMetaPairsYieldsWhatAPlainPredicateYields",
     [](CacheHost& host) {
       const auto cache = host.open();
       const auto table = emptyTable(*cache);
       addItems(*table, {"a", "b", "c"});
       table->upsert({blob("list"), {{"kind", "list"}}, std::nullopt});
       table->upsert({blob("second b"), {{"kind", "item"}, {"name", "b"}, {"extra", "x"}}, std::nullopt});

       EXPECT_THAT(texts(table->load(Query::exact(metaEquals({{"name", "b"}})))),
                   UnorderedElementsAre("second b", "data of b"));
       EXPECT_THAT(table->fetch(Query::exact(named("b"))),
                   UnorderedElementsAreArray(table->fetch(Query::exact(metaEquals({{"name", "b"}})))));
     }},
    {"AFilterOnSeveralPairsWantsAllOfThem",
     [](CacheHost& host) {
       const auto cache = host.open();
       const auto table = emptyTable(*cache);
       addItems(*table, {"a", "b"});
       table->upsert({blob("other kind"), {{"kind", "list"}, {"name", "a"}}, std::nullopt});

       EXPECT_THAT(texts(table->load(Query::exact(metaEquals({{"kind", "item"}, {"name", "a"}})))),
                   ElementsAre("data of a"));
       EXPECT_THAT(texts(table->load(Query::exact(metaEquals({{"kind", "list"}, {"name", "b"}})))),
                   IsEmpty());
       EXPECT_THAT(texts(table->load(Query::exact(metaEquals({{"name", "a"}, {"unknown", "x"}})))),
                   IsEmpty());
     }},
    {"AFilterWithoutPairsAdmitsEveryRow",
     [](CacheHost& host) {
       const auto cache = host.open();
       const auto table = emptyTable(*cache);
       addItems(*table, {"a", "b"});
       EXPECT_THAT(names(table->fetch(Query::exact(metaEquals({})))), UnorderedElementsAre("a", "b"));
     }},
    {"TheRowWrittenLastComesFirst",
     [](CacheHost& host) {
       const auto cache = host.open();
       const auto table = emptyTable(*cache);
       const auto newest = [&table] {
         const auto rows = table->load(Query::exact(metaEquals({{"kind", "item"}, {"name", "a"}})));
         return rows.empty() ? "nothing" : std::string(rows.front().view());
       };
       table->upsert(item("a", "1", "first key"));
       table->upsert(item("a", "2", "second key"));
       EXPECT_EQ(newest(), "2");
       table->upsert(item("a", "3"));
       EXPECT_EQ(newest(), "3");
       table->upsert(item("a", "4", "first key"));
       EXPECT_EQ(newest(), "4");
     }},
    {"OldestSelectsByPosition",
     [](CacheHost& host) {
       const auto cache = host.open();
       const auto table = emptyTable(*cache);
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
     }},
    {"OldestCountsOnlyTheRowsThatTheFilterAdmits",
     [](CacheHost& host) {
       const auto cache = host.open();
       const auto table = emptyTable(*cache);
       addItems(*table, {"a", "b"});
       table->upsert({blob("list"), {{"kind", "list"}, {"name", "all"}}, std::nullopt});
       addItems(*table, {"c"});
       const RowFilter items = [](const Row& row) { return row.meta.at("kind") == "item"; };

       EXPECT_THAT(names(table->fetch(Query::oldest({1, 3}, metaEquals({{"kind", "item"}})))),
                   ElementsAre("b", "c"));
       EXPECT_THAT(names(table->fetch(Query::oldest({1, 3}, items))), ElementsAre("b", "c"));
       EXPECT_THAT(texts(table->load(Query::oldest({0, 1}, items))), ElementsAre("data of a"));
     }},
    {"PurgeDeletesTheRowsThatTheFilterAdmits",
     [](CacheHost& host) {
       const auto cache = host.open();
       const auto table = emptyTable(*cache);
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
     }},
    {"APurgedRowCanBeWrittenAgain",
     [](CacheHost& host) {
       const auto cache = host.open();
       const auto table = emptyTable(*cache);
       addItems(*table, {"a", "b"});
       table->purge(everyRow());

       table->upsert(item("a", "again"));

       EXPECT_THAT(texts(table->load(Query::exact(metaEquals({{"name", "a"}})))), ElementsAre("again"));
     }},
    {"ARowOverSevenDaysIsGone",
     [](CacheHost& host) {
       const auto cache = host.open();
       const auto table = emptyTable(*cache);
       addItems(*table, {"a"});
       if (!host.advanceClock(7200)) GTEST_SKIP() << noClock;
       addItems(*table, {"b"});

       if (!host.advanceClock(sevenDays - 3600)) GTEST_SKIP() << noClock;

       EXPECT_THAT(names(table->fetch(Query::exact(metaEquals({{"kind", "item"}})))), ElementsAre("b"));
       EXPECT_THAT(names(table->fetch(Query::exact(everyRow()))), ElementsAre("b"));
       EXPECT_THAT(names(table->fetch(Query::oldest({0, 1}))), ElementsAre("b"));
       EXPECT_THAT(texts(table->load(Query::oldest({}))), ElementsAre("data of b"));
     }},
    {"WritingARowAgainMakesItYoung",
     [](CacheHost& host) {
       const auto cache = host.open();
       const auto table = emptyTable(*cache);
       addItems(*table, {"a"});
       if (!host.advanceClock(sevenDays - 3600)) GTEST_SKIP() << noClock;
       addItems(*table, {"a"});
       if (!host.advanceClock(sevenDays - 3600)) GTEST_SKIP() << noClock;
       EXPECT_THAT(names(table->fetch(Query::exact(everyRow()))), ElementsAre("a"));
     }},
    {"BlobsHaveNoAge",
     [](CacheHost& host) {
       const auto cache = host.open();
       cache->save(blob("1"), "stamp");
       if (!host.advanceClock(100 * sevenDays)) GTEST_SKIP() << noClock;
       EXPECT_EQ(text(cache->load("stamp")), "1");
     }},
};

}  // namespace

std::span<const Guarantee<CacheHost>> cacheTableGuarantees() {
  return guarantees;
}

}  // namespace vellora::conformance
