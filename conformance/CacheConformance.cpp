#include "conformance/CacheConformance.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "conformance/CacheSamples.h"
#include "conformance/Registration.h"
#include "conformance/Texts.h"
#include "conformance/Threads.h"
#include "vellora/Host/CacheTable.h"

namespace vellora::conformance {

namespace {

using CorvaneSDK::CacheTable;
using CorvaneSDK::metaEquals;
using CorvaneSDK::Query;
using CorvaneSDK::Row;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr Guarantee<CacheHost> guarantees[] = {
    {"AnAbsentBlobIsNoValue",
     [](CacheHost& host) {
       const auto cache = host.open();
       EXPECT_EQ(text(cache->load("stamp")), std::nullopt);
     }},
    {"KeepsWhatWasSavedLast",
     [](CacheHost& host) {
       const auto cache = host.open();
       EXPECT_TRUE(cache->save(blob("first"), "stamp"));
       EXPECT_EQ(text(cache->load("stamp")), "first");
       EXPECT_TRUE(cache->save(blob("second"), "stamp"));
       EXPECT_EQ(text(cache->load("stamp")), "second");
     }},
    {"KeepsBlobsApartByKey",
     [](CacheHost& host) {
       const auto cache = host.open();
       cache->save(blob("1"), "a");
       cache->save(blob("2"), "A");
       cache->save(blob("3"), "");

       EXPECT_EQ(text(cache->load("a")), "1");
       EXPECT_EQ(text(cache->load("A")), "2");
       EXPECT_EQ(text(cache->load("")), "3");
     }},
    {"ARemovedBlobIsAbsentAndOthersStay",
     [](CacheHost& host) {
       const auto cache = host.open();
       cache->save(blob("1"), "a");
       cache->save(blob("2"), "b");

       EXPECT_TRUE(cache->remove("a"));

       EXPECT_EQ(text(cache->load("a")), std::nullopt);
       EXPECT_EQ(text(cache->load("b")), "2");
     }},
    {"RemovingAnAbsentBlobSucceeds",
     [](CacheHost& host) {
       const auto cache = host.open();
       EXPECT_TRUE(cache->remove("never saved"));
     }},
    {"AnEmptyBlobIsPresent",
     [](CacheHost& host) {
       const auto cache = host.open();
       EXPECT_TRUE(cache->save(Data(), "empty"));
       EXPECT_EQ(text(cache->load("empty")), "");
     }},
    {"KeysAndBlobsMayHoldAnyBytes",
     [](CacheHost& host) {
       const auto cache = host.open();
       const std::string bytes = everyByteValue();
       EXPECT_TRUE(cache->save(blob(bytes), bytes));
       EXPECT_TRUE(cache->save(blob("short"), std::string("a\0b", 3)));

       EXPECT_EQ(text(cache->load(bytes)), bytes);
       EXPECT_EQ(text(cache->load(std::string("a\0b", 3))), "short");
       EXPECT_EQ(text(cache->load("a")), std::nullopt);
     }},
    {"KeepsALargeBlob",
     [](CacheHost& host) {
       const auto cache = host.open();
       std::string large(5'000'000, ' ');
       for (std::size_t i = 0; i < large.size(); ++i) large[i] = static_cast<char>(i * 31 >> 3);

       EXPECT_TRUE(cache->save(blob(large), "large"));

       EXPECT_TRUE(cache->load("large") == blob(large));
     }},
    {"ATableThatWasNeverCreatedIsNull",
     [](CacheHost& host) {
       const auto cache = host.open();
       EXPECT_EQ(CacheTable::open(*cache, "Rows"), nullptr);
     }},
    {"ACreatedTableIsEmptyAndIsFoundByItsKey",
     [](CacheHost& host) {
       const auto cache = host.open();
       const auto created = emptyTable(*cache);
       ASSERT_NE(created, nullptr);
       EXPECT_THAT(created->fetch(Query::exact(everyRow())), IsEmpty());
       created->upsert(item("a", "1"));

       const auto opened = CacheTable::open(*cache, "Rows");

       ASSERT_NE(opened, nullptr);
       EXPECT_THAT(texts(opened->load(Query::exact(everyRow()))), ElementsAre("1"));
       EXPECT_EQ(CacheTable::open(*cache, "rows"), nullptr);
     }},
    {"AFoundTableHasItsAge",
     [](CacheHost& host) {
       const auto cache = host.open();
       emptyTable(*cache);
       const auto opened = CacheTable::open(*cache, "Rows");
       ASSERT_NE(opened, nullptr);
       opened->upsert(item("a", "1"));

       if (!host.advanceClock(sevenDays + 1)) GTEST_SKIP() << noClock;

       EXPECT_THAT(opened->fetch(Query::exact(everyRow())), IsEmpty());
     }},
    {"CreatingATableAgainKeepsItsRows",
     [](CacheHost& host) {
       const auto cache = host.open();
       emptyTable(*cache)->upsert(item("a", "1"));
       EXPECT_THAT(texts(emptyTable(*cache)->load(Query::exact(everyRow()))), ElementsAre("1"));
     }},
    {"KeepsTablesApartFromEachOtherAndFromBlobs",
     [](CacheHost& host) {
       const auto cache = host.open();
       const auto first = emptyTable(*cache, "first");
       const auto second = emptyTable(*cache, "second");
       first->upsert(item("a", "1", "key"));
       second->upsert(item("a", "2", "key"));
       cache->save(blob("3"), "first");

       EXPECT_THAT(texts(first->load(Query::exact(everyRow()))), ElementsAre("1"));
       EXPECT_THAT(texts(second->load(Query::exact(metaEquals({{"name", "a"}})))), ElementsAre("2"));
       second->purge(everyRow());
       EXPECT_THAT(texts(first->load(Query::exact(metaEquals({{"name", "a"}})))), ElementsAre("1"));
       EXPECT_EQ(text(cache->load("first")), "3");
       EXPECT_EQ(text(cache->load("second")), std::nullopt);
     }},
    {"ATableKeyMayHoldAnyBytes",
     [](CacheHost& host) {
       const auto cache = host.open();
       const auto table = emptyTable(*cache, everyByteValue());
       table->upsert(item("a", "1"));

       const auto opened = CacheTable::open(*cache, everyByteValue());

       ASSERT_NE(opened, nullptr);
       EXPECT_THAT(texts(opened->load(Query::exact(everyRow()))), ElementsAre("1"));
     }},
    {"SeveralThreadsSeeWholeBlobs",
     [](CacheHost& host) {
       const auto cache = host.open();
       constexpr int rounds = 40;
       cache->save(Data(std::string(3000, 'a')), "shared");

       runOnThreads(6, [&](int thread) {
         const std::string own = "own " + std::to_string(thread);
         for (int round = 0; round < rounds; ++round) {
           const Data written(std::string(3000, static_cast<char>('a' + thread)));
           EXPECT_TRUE(cache->save(written, own));
           EXPECT_EQ(text(cache->load(own)), text(written));
           EXPECT_TRUE(cache->save(written, "shared"));
           const auto shared = cache->load("shared");
           ASSERT_TRUE(shared.has_value());
           EXPECT_EQ(shared->view(), std::string(3000, shared->view().front()));
         }
       });
     }},
    {"SeveralThreadsReadWriteAndPurgeOneTable",
     [](CacheHost& host) {
       const auto cache = host.open();
       constexpr int rounds = 25;
       const auto table = emptyTable(*cache);

       runOnThreads(8, [&](int thread) {
         const std::string name = "row " + std::to_string(thread);
         for (int round = 0; round < rounds; ++round) {
           EXPECT_NE(CacheTable::open(*cache, "Rows"), nullptr);
           EXPECT_TRUE(table->upsert(item(name, name)));
           EXPECT_THAT(texts(table->load(Query::exact(metaEquals({{"name", name}})))), ElementsAre(name));
           for (const Row& row : table->fetch(Query::exact(everyRow())))
             EXPECT_EQ(row.meta.at("kind"), "item");
           if (round % 5 == 0) {
             EXPECT_TRUE(table->purge(named(name)));
           }
         }
       });

       EXPECT_EQ(table->fetch(Query::oldest({})).size(), 8U);
     }},
    {"ATableIsAlwaysFoundWhileItsRowIsRewritten",
     [](CacheHost& host) {
       const auto cache = host.open();
       const auto table = emptyTable(*cache);
       table->upsert(item("a", "0"));

       runOnThreads(4, [&table](int thread) {
         for (int round = 0; round < 40; ++round) {
           if (thread == 0) {
             EXPECT_TRUE(table->upsert(item("a", std::to_string(round))));
           } else {
             EXPECT_EQ(table->load(Query::exact(metaEquals({{"name", "a"}}))).size(), 1U);
             EXPECT_EQ(table->load(Query::exact(named("a"))).size(), 1U);
           }
         }
       });
     }},
    {"ATableOutlivesItsCacheObject",
     [](CacheHost& host) {
       auto cache = host.open();
       const auto table = emptyTable(*cache);
       cache.reset();
       EXPECT_TRUE(table->upsert(item("a", "1")));
       EXPECT_THAT(texts(table->load(Query::exact(everyRow()))), ElementsAre("1"));
     }},
    {"TheNextStartSeesEverything",
     [](CacheHost& host) {
       if (!host.outlivesTheProcess()) GTEST_SKIP() << "this cache keeps nothing";
       auto cache = host.open();
       cache->save(blob("blob"), "stamp");
       addItems(*emptyTable(*cache), {"a", "b"});
       cache.reset();

       const auto later = host.open();

       EXPECT_EQ(text(later->load("stamp")), "blob");
       const auto table = CacheTable::open(*later, "Rows");
       ASSERT_NE(table, nullptr);
       EXPECT_THAT(texts(table->load(Query::oldest({}))), ElementsAre("data of a", "data of b"));
       EXPECT_THAT(texts(table->load(Query::exact(metaEquals({{"name", "b"}})))), ElementsAre("data of b"));
     }},
};

}  // namespace

std::span<const Guarantee<CacheHost>> cacheGuarantees() {
  return guarantees;
}

void registerCacheConformance(const std::string& suite,
                              const std::function<std::unique_ptr<CacheHost>()>& make) {
  registerTrials(suite, cacheGuarantees(), make);
  registerTrials(suite, cacheTableGuarantees(), make);
}

}  // namespace vellora::conformance
