#include "hostkit/cache/redis/RedisInventory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "testkit/ScriptedServer.h"
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

TEST_F(RedisInventoryTest, ATableWithoutRowsIsATable) {
  ASSERT_NE(emptyTable(*cache), nullptr);
  const auto contents = cache->contents().value();
  ASSERT_THAT(contents.tables, SizeIs(1));
  EXPECT_THAT(contents.tables[0].rows, IsEmpty());
  EXPECT_THAT(contents.findings, IsEmpty());
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

/// A server that answers what it is told to. Each name holds the end of what it takes for a request, so that
/// it gives one answer for each name in a command.
class ScriptedInventoryTest : public RedisFixture {
 protected:
  ScriptedInventoryTest() {
    auto own = options();
    own.space = "a\r\n\r\nb";
    cache = RedisCache::open("redis://" + scripted.hostAndPort(), std::move(own)).value();
  }

  static std::string bulk(const std::string& text) {
    return "$" + std::to_string(text.size()) + "\r\n" + text + "\r\n";
  }

  /// Holds what one name says, without its prefix.
  void hold(const std::string& name) {
    scripted.reply({"*2\r\n" + bulk("0") + "*1\r\n" + bulk("{a\r\n\r\nb}:1:" + name)});
  }

  void answerRows(const std::string& bytes) {
    for (const std::string& part : {bytes, std::string(), std::string()}) scripted.reply({part});
  }

  testkit::ScriptedServer scripted;
  std::shared_ptr<RedisCache> cache;
};

TEST_F(ScriptedInventoryTest, IsAbsentWhereABlobCannotBeRead) {
  hold("blob:key");
  scripted.reply({"-ERR no\r\n"});
  EXPECT_FALSE(cache->contents());
}

TEST_F(ScriptedInventoryTest, LeavesABlobOutThatIsDeletedMeanwhile) {
  hold("blob:key");
  scripted.reply({"$-1\r\n"});
  const auto contents = cache->contents().value();
  EXPECT_THAT(contents.blobs, IsEmpty());
  EXPECT_THAT(contents.findings, IsEmpty());
}

TEST_F(ScriptedInventoryTest, IsAbsentWhereRowsCannotBeRead) {
  hold("table:Rows");
  answerRows("-ERR no\r\n");
  scripted.reply({"$-1\r\n"});
  EXPECT_FALSE(cache->contents());
}

TEST_F(ScriptedInventoryTest, IsAbsentWhereTheRecordOfATableCannotBeRead) {
  hold("table:Rows");
  answerRows("*0\r\n");
  scripted.reply({"-ERR no\r\n"});
  EXPECT_FALSE(cache->contents());
}

TEST_F(ScriptedInventoryTest, LeavesOutARowOfNothing) {
  hold("table:Rows");
  answerRows("*1\r\n*0\r\n");
  scripted.reply({"$-1\r\n"});
  const auto contents = cache->contents().value();
  ASSERT_THAT(contents.tables, SizeIs(1));
  EXPECT_THAT(contents.tables[0].rows, IsEmpty());
}

}  // namespace
}  // namespace vellora::hostkit::tests
