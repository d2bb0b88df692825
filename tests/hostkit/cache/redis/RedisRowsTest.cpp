#include "hostkit/cache/redis/RedisRows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "hostkit/cache/rows/Checksum.h"
#include "hostkit/cache/rows/MetaCodec.h"
#include "tests/hostkit/cache/redis/RedisFixture.h"

namespace vellora::hostkit::tests {
namespace {

using conformance::item;
using CorvaneSDK::CacheEntry;
using CorvaneSDK::dataKeyEquals;
using CorvaneSDK::Meta;
using CorvaneSDK::metaEquals;
using CorvaneSDK::RowFilter;
using CorvaneSDK::Table;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int64_t sevenDaysInSeconds = 604'800;

class RedisRowsTest : public RedisFixture {
 protected:
  bool write(const CacheEntry& entry) { return redisRows::write(store, table, entry, store.date()); }

  /// How many there are, read without their data.
  std::size_t count() {
    return redisRows::read(store, "Rows", nullptr, redisRows::Content::withoutData).value().size();
  }

  std::vector<std::string> texts(const RowFilter* filter = nullptr) {
    std::vector<std::string> all;
    const auto rows = redisRows::read(store, "Rows", filter);
    for (const auto& row : rows.value()) all.emplace_back(row->data.view());
    return all;
  }

  /// As another program may write it: with the checksum of what it says, whatever that is.
  void writeOver(const std::string& dataKey, const std::string& date, const std::string& meta) const {
    const auto checksum = Checksum().add("row").add("Rows").add(dataKey).add(date).add(meta).add("1").value();
    (void)server.ask(
        {"HSET", rowKey(dataKey), "w", date, "c", std::to_string(checksum), "m", meta, "d", "1"});
  }

  [[nodiscard]] std::string rowKey(const std::string& dataKey) const {
    return store.keys().rows("Rows") + dataKey;
  }
  [[nodiscard]] std::string pairKey(const Meta& pair) const {
    return store.keys().pairs("Rows") + encodedMeta(pair);
  }

  RedisStore store{setting()};
  const Table table = Table::emptyWithKey("Rows", Table::MaxAge::sevenDays);
};

TEST_F(RedisRowsTest, PairsAreLookedUpAndNoOtherRowIsRead) {
  for (int i = 0; i < 200; ++i) ASSERT_TRUE(write(item("name " + std::to_string(i), "data")));
  ASSERT_TRUE(write(item("wanted", "found")));
  server.forgetCalls();

  const RowFilter filter = metaEquals({{"kind", "item"}, {"name", "wanted"}});
  EXPECT_THAT(texts(&filter), ElementsAre("found"));
  EXPECT_EQ(server.callsOf("hmget"), 1);
  EXPECT_EQ(server.callsOf("zinter"), 1);
}

TEST_F(RedisRowsTest, ADataKeyIsLookedUpAndNoOtherRowIsRead) {
  for (int i = 0; i < 20; ++i) ASSERT_TRUE(write(item("a", "data", "key " + std::to_string(i))));
  ASSERT_TRUE(write(item("a", "found", "wanted")));
  server.forgetCalls();

  const RowFilter filter = dataKeyEquals("wanted");
  EXPECT_THAT(texts(&filter), ElementsAre("found"));
  EXPECT_EQ(server.callsOf("hmget"), 1);
}

TEST_F(RedisRowsTest, ARowOfAnotherMetaLeavesTheSetsOfItsFormerOne) {
  ASSERT_TRUE(write(item("a", "1", "key")));
  ASSERT_TRUE(write(item("b", "2", "key")));
  const RowFilter former = metaEquals({{"name", "a"}});
  EXPECT_THAT(texts(&former), IsEmpty());
  EXPECT_EQ(server.ask({"EXISTS", pairKey({{"name", "a"}})}).number, 0);
  EXPECT_EQ(server.ask({"SCARD", pairKey({{"name", "b"}})}).number, 1);
}

TEST_F(RedisRowsTest, EveryKeyOfARowExpiresAfterSevenDays) {
  ASSERT_TRUE(write(item("a", "1", "key")));
  const std::int64_t present = std::stoll(server.ask({"TIME"}).items[0].text);
  const std::vector<std::string> keys{rowKey("key"),
                                      pairKey({{"kind", "item"}}),
                                      pairKey({{"name", "a"}}),
                                      store.keys().order("Rows"),
                                      store.keys().metas("Rows"),
                                      store.keys().table("Rows")};
  for (const std::string& key : keys) {
    const std::int64_t end = server.ask({"EXPIRETIME", key}).number;
    EXPECT_GT(end, present) << key;
    EXPECT_LE(end, present + sevenDaysInSeconds + 3) << key;
  }
  EXPECT_EQ(server.keys().size(), keys.size());
}

TEST_F(RedisRowsTest, NoIndexExpiresBeforeItsRows) {
  ASSERT_TRUE(write(item("a", "1", "key")));
  const std::int64_t end = server.ask({"EXPIRETIME", rowKey("key")}).number;
  for (const std::string& key : {pairKey({{"kind", "item"}}), store.keys().order("Rows")}) {
    EXPECT_GT(server.ask({"EXPIRETIME", key}).number, end) << key;
  }
}

TEST_F(RedisRowsTest, ARowThatTheServerDeletedIsNotThere) {
  ASSERT_TRUE(write(item("a", "1", "first")));
  ASSERT_TRUE(write(item("a", "2", "second")));
  (void)server.ask({"DEL", rowKey("first")});
  const RowFilter filter = metaEquals({{"name", "a"}});
  EXPECT_THAT(texts(&filter), ElementsAre("2"));
  EXPECT_THAT(texts(), ElementsAre("2"));
}

TEST_F(RedisRowsTest, ARowThatTheOrderNamesWithAnotherNumberIsNotThere) {
  ASSERT_TRUE(write(item("a", "1", "key")));
  (void)server.ask({"ZINCRBY", store.keys().order("Rows"), "1", "key"});
  EXPECT_THAT(texts(), IsEmpty());
}

TEST_F(RedisRowsTest, TheNextWriteForgetsTheNamesOfRowsThatExpired) {
  ASSERT_TRUE(write(item("a", "1", "old")));
  (void)server.ask({"DEL", rowKey("old")});
  (void)server.ask({"ZADD", store.keys().order("Rows"), "1000000", "old"});
  ASSERT_TRUE(write(item("b", "2", "new")));
  EXPECT_EQ(server.ask({"ZCARD", store.keys().order("Rows")}).number, 1);
  EXPECT_EQ(server.ask({"HLEN", store.keys().metas("Rows")}).number, 1);
  EXPECT_EQ(server.ask({"EXISTS", pairKey({{"name", "a"}})}).number, 0);
}

TEST_F(RedisRowsTest, ARowWithAnyOtherByteIsNotThere) {
  for (const std::string part : {"w", "c", "m", "d"}) {
    ASSERT_TRUE(write(item("a", "1", "key")));
    ASSERT_THAT(texts(), ElementsAre("1"));
    const std::string sound = server.ask({"HGET", rowKey("key"), part}).text;
    (void)server.ask({"HSET", rowKey("key"), part, sound + "0"});
    EXPECT_THAT(texts(), IsEmpty()) << part;
  }
}

TEST_F(RedisRowsTest, ARowWithAnyOtherByteIsNotThereWithoutItsDataEither) {
  for (const std::string part : {"w", "h", "m", "d", "s"}) {
    ASSERT_TRUE(write(item("a", "1", "key")));
    ASSERT_EQ(count(), 1U);
    const std::string sound = server.ask({"HGET", rowKey("key"), part}).text;
    (void)server.ask({"HSET", rowKey("key"), part, sound + "0"});
    EXPECT_EQ(count(), 0U) << part;
    (void)server.ask({"HDEL", rowKey("key"), part});
    EXPECT_EQ(count(), 0U) << part;
  }
}

TEST_F(RedisRowsTest, ARowOfTheRightChecksumThatIsNoneIsNotThere) {
  const std::string meta = encodedMeta({{"name", "a"}});
  ASSERT_TRUE(write(item("a", "1", "key")));
  writeOver("key", "0", meta);
  ASSERT_THAT(texts(), ElementsAre("1"));
  for (const std::string date : {"", "1x", "99999999999999999999"}) {
    writeOver("key", date, meta);
    EXPECT_THAT(texts(), IsEmpty()) << date;
  }
  writeOver("key", "0", "no meta");
  EXPECT_THAT(texts(), IsEmpty());
}

TEST_F(RedisRowsTest, ARowWhoseNumberIsNotWholeIsNotThere) {
  ASSERT_TRUE(write(item("a", "1", "key")));
  (void)server.ask({"ZADD", store.keys().order("Rows"), "1.5", "key"});
  (void)server.ask({"HSET", rowKey("key"), "n", "1.5"});
  EXPECT_THAT(texts(), IsEmpty());
}

TEST_F(RedisRowsTest, ARowBearsTheNumberThatItsPlaceInTheOrderFollowsFrom) {
  ASSERT_TRUE(write(item("a", "1", "key")));
  const auto rows = redisRows::read(store, "Rows", nullptr).value();
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(std::to_string(rows[0]->sequence), server.ask({"HGET", rowKey("key"), "n"}).text);
}

TEST_F(RedisRowsTest, ARowOfAnotherTableIsNotThere) {
  ASSERT_TRUE(write(item("a", "1", "key")));
  for (const auto& [from, to] : std::vector<std::pair<std::string, std::string>>{
           {rowKey("key"), store.keys().rows("Other") + "key"},
           {store.keys().order("Rows"), store.keys().order("Other")}}) {
    (void)server.ask({"RENAME", from, to});
  }
  EXPECT_THAT(redisRows::read(store, "Other", nullptr).value(), IsEmpty());
}

TEST_F(RedisRowsTest, ADamagedRowIsDeletedWithWhatIsPurged) {
  ASSERT_TRUE(write(item("a", "1", "key")));
  (void)server.ask({"HSET", store.keys().metas("Rows"), "key", "no meta"});
  const auto heads = redisRows::readHeads(store, "Rows", conformance::everyRow()).value();
  ASSERT_EQ(heads.size(), 1U);
  EXPECT_FALSE(heads[0].row);
  EXPECT_TRUE(redisRows::remove(store, "Rows", heads));
  EXPECT_THAT(texts(), IsEmpty());
}

TEST_F(RedisRowsTest, ARowThatWasWrittenAgainIsNotDeleted) {
  ASSERT_TRUE(write(item("a", "1", "key")));
  const auto heads = redisRows::readHeads(store, "Rows", conformance::everyRow()).value();
  ASSERT_TRUE(write(item("a", "2", "key")));
  EXPECT_TRUE(redisRows::remove(store, "Rows", heads));
  EXPECT_THAT(texts(), ElementsAre("2"));
}

TEST_F(RedisRowsTest, WhatIsDeletedIsUnlinkedWithAllThatNamesIt) {
  ASSERT_TRUE(write(item("a", "1", "key")));
  server.forgetCalls();
  const auto heads = redisRows::readHeads(store, "Rows", conformance::everyRow()).value();
  ASSERT_TRUE(redisRows::remove(store, "Rows", heads));
  EXPECT_THAT(server.keys(), ElementsAre(store.keys().table("Rows")));
  EXPECT_EQ(server.callsOf("unlink"), 1);
  EXPECT_EQ(server.callsOf("del"), 0);
}

TEST_F(RedisRowsTest, AServerWithoutMemoryKeepsTheRowAsItWas) {
  ASSERT_TRUE(write(item("a", "1", "key")));
  (void)server.ask({"CONFIG", "SET", "maxmemory", "1"});
  EXPECT_FALSE(write(item("b", "2", "key")));
  EXPECT_THAT(told.reasons(), ElementsAre(Reason::full));
  const RowFilter filter = metaEquals({{"name", "a"}});
  EXPECT_THAT(texts(&filter), ElementsAre("1"));
}

}  // namespace
}  // namespace vellora::hostkit::tests
