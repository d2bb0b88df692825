#include "hostkit/cache/redis/RedisInventory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "tests/hostkit/cache/redis/RedisFixture.h"
#include "vellora/Host/CacheTable.h"

namespace vellora::hostkit::tests {
namespace {

using conformance::blob;
using conformance::emptyTable;
using conformance::item;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr double eightDaysInSeconds = 8 * 86'400;

/// A cache whose contents are read.
class RedisInventoryTest : public RedisFixture {
 protected:
  [[nodiscard]] std::string onlyKey(const std::string& pattern) const { return server.keys(pattern).at(0); }

  const std::shared_ptr<RedisCache> cache = open();
};

TEST_F(RedisInventoryTest, AnEmptyServerHasAnEmptyCache) {
  const auto contents = cache->contents();
  ASSERT_TRUE(contents);
  EXPECT_THAT(contents->blobs, IsEmpty());
  EXPECT_THAT(contents->tables, IsEmpty());
  EXPECT_THAT(contents->findings, IsEmpty());
}

TEST_F(RedisInventoryTest, HoldsBlobsByTheirKeysAndRowsInTheOrderOfWriting) {
  ASSERT_TRUE(cache->save(blob("2"), "second"));
  ASSERT_TRUE(cache->save(blob("1"), "first"));
  const auto table = emptyTable(*cache);
  ASSERT_TRUE(table->upsert(item("b", "row of b")));
  ASSERT_TRUE(table->upsert(item("a", "row of a", "own key")));

  const auto contents = cache->contents().value();
  ASSERT_THAT(contents.blobs, SizeIs(2));
  EXPECT_EQ(contents.blobs[0].key, "first");
  EXPECT_EQ(contents.blobs[0].data, blob("1"));
  EXPECT_EQ(contents.blobs[1].key, "second");
  ASSERT_THAT(contents.tables, SizeIs(1));
  EXPECT_EQ(contents.tables[0].key, "Rows");
  const auto& rows = contents.tables[0].rows;
  ASSERT_THAT(rows, SizeIs(2));
  EXPECT_EQ(rows[0].data, blob("row of b"));
  EXPECT_EQ(rows[1].row.dataKey, "own key");
  EXPECT_EQ(rows[1].row.meta, item("a", "").meta);
  EXPECT_EQ(rows[1].written, clock.function()());
  EXPECT_FALSE(rows[1].outdated);
  EXPECT_THAT(contents.findings, IsEmpty());
}

TEST_F(RedisInventoryTest, WhatIsDamagedIsMarkedAndFound) {
  ASSERT_TRUE(cache->save(blob("1"), "key"));
  ASSERT_TRUE(emptyTable(*cache)->upsert(item("a", "1", "row key")));
  (void)server.ask({"APPEND", onlyKey("*:blob:*"), "x"});
  (void)server.ask({"HSET", onlyKey("*:row:*"), "d", "another"});
  (void)server.ask({"SET", onlyKey("*:table:*"), "0:0"});

  const auto contents = cache->contents().value();
  EXPECT_EQ(contents.blobs.at(0).data, std::nullopt);
  EXPECT_EQ(contents.tables.at(0).rows.at(0).row.dataKey, "row key");
  EXPECT_EQ(contents.tables.at(0).rows.at(0).data, std::nullopt);
  EXPECT_THAT(contents.findings, ElementsAre("blob \"key\" does not fit its checksum",
                                             "the record of table \"Rows\" does not fit its checksum",
                                             "row \"row key\" of table \"Rows\" does not fit its checksum"));
}

TEST_F(RedisInventoryTest, ATableWithoutItsRecordIsFound) {
  ASSERT_TRUE(emptyTable(*cache)->upsert(item("a", "1")));
  (void)server.ask({"DEL", onlyKey("*:table:*")});
  const auto contents = cache->contents().value();
  EXPECT_THAT(contents.tables.at(0).rows, SizeIs(1));
  EXPECT_THAT(contents.findings, SizeIs(1));
}

TEST_F(RedisInventoryTest, ARowThatIsTooOldIsOutdated) {
  ASSERT_TRUE(emptyTable(*cache)->upsert(item("a", "1")));
  clock.advance(eightDaysInSeconds);
  EXPECT_TRUE(cache->contents().value().tables.at(0).rows.at(0).outdated);
}

TEST_F(RedisInventoryTest, HoldsNothingOfAnotherOwner) {
  auto own = options();
  own.owner = "user 1";
  ASSERT_TRUE(open(std::move(own))->save(blob("1"), "key"));
  EXPECT_THAT(cache->contents().value().blobs, IsEmpty());
}

TEST_F(RedisInventoryTest, IsAbsentWhereTheServerIsGone) {
  server.kill();
  EXPECT_FALSE(cache->contents());
  EXPECT_THAT(told.reasons(), ElementsAre(Reason::unreachable));
}

}  // namespace
}  // namespace vellora::hostkit::tests
