#include "tests/hostkit/CacheConformance.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace vellora::hostkit::tests {
namespace {

template <class Kind>
using CacheConformanceTest = CacheConformance<Kind>;

TYPED_TEST_SUITE(CacheConformanceTest, CacheKinds);

TYPED_TEST(CacheConformanceTest, AnAbsentBlobIsNoValue) {
  EXPECT_EQ(this->cache->load("stamp"), std::nullopt);
}

TYPED_TEST(CacheConformanceTest, KeepsWhatWasSavedLast) {
  EXPECT_TRUE(this->cache->save(blob("first"), "stamp"));
  EXPECT_EQ(this->cache->load("stamp"), blob("first"));
  EXPECT_TRUE(this->cache->save(blob("second"), "stamp"));
  EXPECT_EQ(this->cache->load("stamp"), blob("second"));
}

TYPED_TEST(CacheConformanceTest, KeepsBlobsApartByKey) {
  this->cache->save(blob("1"), "a");
  this->cache->save(blob("2"), "A");
  this->cache->save(blob("3"), "");

  EXPECT_EQ(this->cache->load("a"), blob("1"));
  EXPECT_EQ(this->cache->load("A"), blob("2"));
  EXPECT_EQ(this->cache->load(""), blob("3"));
}

TYPED_TEST(CacheConformanceTest, ARemovedBlobIsAbsentAndOthersStay) {
  this->cache->save(blob("1"), "a");
  this->cache->save(blob("2"), "b");

  EXPECT_TRUE(this->cache->remove("a"));

  EXPECT_EQ(this->cache->load("a"), std::nullopt);
  EXPECT_EQ(this->cache->load("b"), blob("2"));
}

TYPED_TEST(CacheConformanceTest, RemovingAnAbsentBlobSucceeds) {
  EXPECT_TRUE(this->cache->remove("never saved"));
}

TYPED_TEST(CacheConformanceTest, AnEmptyBlobIsPresent) {
  EXPECT_TRUE(this->cache->save(Data(), "empty"));
  EXPECT_EQ(this->cache->load("empty"), Data());
}

TYPED_TEST(CacheConformanceTest, KeysAndBlobsMayHoldAnyBytes) {
  const std::string bytes = everyByteValue();
  EXPECT_TRUE(this->cache->save(blob(bytes), bytes));
  EXPECT_TRUE(this->cache->save(blob("short"), std::string("a\0b", 3)));

  EXPECT_EQ(this->cache->load(bytes), blob(bytes));
  EXPECT_EQ(this->cache->load(std::string("a\0b", 3)), blob("short"));
  EXPECT_EQ(this->cache->load("a"), std::nullopt);
}

TYPED_TEST(CacheConformanceTest, KeepsALargeBlob) {
  std::string large(5'000'000, ' ');
  for (std::size_t i = 0; i < large.size(); ++i) large[i] = static_cast<char>(i * 31 >> 3);

  EXPECT_TRUE(this->cache->save(blob(large), "large"));

  EXPECT_TRUE(this->cache->load("large") == blob(large));
}

TYPED_TEST(CacheConformanceTest, ATableThatWasNeverCreatedIsNull) {
  EXPECT_EQ(CacheTable::open(*this->cache, "Rows"), nullptr);
}

TYPED_TEST(CacheConformanceTest, ACreatedTableIsEmptyAndIsFoundByItsKey) {
  const auto created = this->emptyTable();
  ASSERT_NE(created, nullptr);
  EXPECT_THAT(created->fetch(Query::exact(everyRow())), IsEmpty());
  created->upsert(item("a", "1"));

  const auto opened = CacheTable::open(*this->cache, "Rows");

  ASSERT_NE(opened, nullptr);
  EXPECT_THAT(texts(opened->load(Query::exact(everyRow()))), ElementsAre("1"));
  EXPECT_EQ(CacheTable::open(*this->cache, "rows"), nullptr);
}

TYPED_TEST(CacheConformanceTest, AFoundTableHasItsAge) {
  this->emptyTable();
  const auto opened = CacheTable::open(*this->cache, "Rows");
  ASSERT_NE(opened, nullptr);
  opened->upsert(item("a", "1"));

  this->clock.advance(sevenDays + 1);

  EXPECT_THAT(opened->fetch(Query::exact(everyRow())), IsEmpty());
}

TYPED_TEST(CacheConformanceTest, CreatingATableAgainKeepsItsRows) {
  this->emptyTable()->upsert(item("a", "1"));
  EXPECT_THAT(texts(this->emptyTable()->load(Query::exact(everyRow()))), ElementsAre("1"));
}

TYPED_TEST(CacheConformanceTest, KeepsTablesApartFromEachOtherAndFromBlobs) {
  const auto first = this->emptyTable("first");
  const auto second = this->emptyTable("second");
  first->upsert(item("a", "1", "key"));
  second->upsert(item("a", "2", "key"));
  this->cache->save(blob("3"), "first");

  EXPECT_THAT(texts(first->load(Query::exact(everyRow()))), ElementsAre("1"));
  EXPECT_THAT(texts(second->load(Query::exact(metaEquals({{"name", "a"}})))), ElementsAre("2"));
  second->purge(everyRow());
  EXPECT_THAT(texts(first->load(Query::exact(metaEquals({{"name", "a"}})))), ElementsAre("1"));
  EXPECT_EQ(this->cache->load("first"), blob("3"));
  EXPECT_EQ(this->cache->load("second"), std::nullopt);
}

TYPED_TEST(CacheConformanceTest, ATableKeyMayHoldAnyBytes) {
  const auto table = this->emptyTable(everyByteValue());
  table->upsert(item("a", "1"));

  const auto opened = CacheTable::open(*this->cache, everyByteValue());

  ASSERT_NE(opened, nullptr);
  EXPECT_THAT(texts(opened->load(Query::exact(everyRow()))), ElementsAre("1"));
}

void runOnThreads(int count, const std::function<void(int)>& body) {
  std::vector<std::thread> threads;
  threads.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) threads.emplace_back(body, i);
  for (auto& thread : threads) thread.join();
}

TYPED_TEST(CacheConformanceTest, SeveralThreadsSeeWholeBlobs) {
  constexpr int rounds = 40;
  this->cache->save(Data(std::string(3000, 'a')), "shared");

  runOnThreads(6, [this](int thread) {
    const std::string own = "own " + std::to_string(thread);
    for (int round = 0; round < rounds; ++round) {
      const Data written(std::string(3000, static_cast<char>('a' + thread)));
      EXPECT_TRUE(this->cache->save(written, own));
      EXPECT_EQ(this->cache->load(own), written);
      EXPECT_TRUE(this->cache->save(written, "shared"));
      const auto shared = this->cache->load("shared");
      ASSERT_TRUE(shared.has_value());
      EXPECT_EQ(shared->view(), std::string(3000, shared->view().front()));
    }
  });
}

TYPED_TEST(CacheConformanceTest, SeveralThreadsReadWriteAndPurgeOneTable) {
  constexpr int rounds = 25;
  const auto table = this->emptyTable();

  runOnThreads(8, [this, &table](int thread) {
    const std::string name = "row " + std::to_string(thread);
    for (int round = 0; round < rounds; ++round) {
      EXPECT_NE(CacheTable::open(*this->cache, "Rows"), nullptr);
      EXPECT_TRUE(table->upsert(item(name, name)));
      EXPECT_THAT(texts(table->load(Query::exact(metaEquals({{"name", name}})))), ElementsAre(name));
      for (const Row& row : table->fetch(Query::exact(everyRow()))) EXPECT_EQ(row.meta.at("kind"), "item");
      if (round % 5 == 0) {
        EXPECT_TRUE(table->purge(named(name)));
      }
    }
  });

  EXPECT_EQ(table->fetch(Query::oldest({})).size(), 8U);
}

TYPED_TEST(CacheConformanceTest, ATableIsAlwaysFoundWhileItsRowIsRewritten) {
  const auto table = this->emptyTable();
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
}

TYPED_TEST(CacheConformanceTest, ATableOutlivesItsCacheObject) {
  const auto table = this->emptyTable();
  this->cache.reset();
  EXPECT_TRUE(table->upsert(item("a", "1")));
  EXPECT_THAT(texts(table->load(Query::exact(everyRow()))), ElementsAre("1"));
}

TYPED_TEST(CacheConformanceTest, TheNextStartSeesEverything) {
  if constexpr (!TypeParam::outlivesTheProcess) {
    GTEST_SKIP() << "this kind of cache keeps nothing";
  } else {
    this->cache->save(blob("blob"), "stamp");
    addItems(*this->emptyTable(), {"a", "b"});
    this->cache.reset();

    const auto later = this->kind.open(this->clock.function());

    EXPECT_EQ(later->load("stamp"), blob("blob"));
    const auto table = CacheTable::open(*later, "Rows");
    ASSERT_NE(table, nullptr);
    EXPECT_THAT(texts(table->load(Query::oldest({}))), ElementsAre("data of a", "data of b"));
    EXPECT_THAT(texts(table->load(Query::exact(metaEquals({{"name", "b"}})))), ElementsAre("data of b"));
    this->clock.advance(sevenDays + 1);
    EXPECT_THAT(table->fetch(Query::oldest({})), IsEmpty());
  }
}

}  // namespace
}  // namespace vellora::hostkit::tests
