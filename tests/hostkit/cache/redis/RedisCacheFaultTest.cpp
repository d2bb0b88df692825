// What a cache makes of a server that answers what no Redis does, and of values of several megabytes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "testkit/ScriptedServer.h"
#include "tests/hostkit/cache/redis/RedisFixture.h"
#include "vellora/Host/CacheTable.h"

namespace vellora::hostkit::tests {
namespace {

using conformance::blob;
using conformance::emptyTable;
using conformance::everyRow;
using conformance::item;
using CorvaneSDK::Query;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testkit::ScriptedServer;

constexpr double eightDays = 8 * 86'400;

/// A server that gives one answer to whatever it is asked.
class WrongAnswerTest : public RedisFixture, public testing::WithParamInterface<const char*> {
 protected:
  WrongAnswerTest() {
    wrong.replyAlways({GetParam()});
    auto own = options();
    own.space = "a\r\n\r\nb";  // each command holds it, and the scripted server answers empty lines
    cache = RedisCache::open("redis://" + wrong.hostAndPort(), std::move(own)).value();
  }

  ScriptedServer wrong;
  std::shared_ptr<RedisCache> cache;
};

TEST_P(WrongAnswerTest, IsAMissInEveryRead) {
  EXPECT_FALSE(cache->load("key"));
  EXPECT_EQ(cache->openTable("Rows"), nullptr);
  const auto table = emptyTable(*cache);
  ASSERT_NE(table, nullptr);
  EXPECT_THAT(table->load(Query::oldest({})), IsEmpty());
  EXPECT_THAT(table->fetch(Query::exact(everyRow())), IsEmpty());
  EXPECT_FALSE(cache->contents());
  EXPECT_FALSE(cache->clear());
}

INSTANTIATE_TEST_SUITE_P(Redis, WrongAnswerTest,
                         testing::Values("+OK\r\n", ":7\r\n", "$-1\r\n", "*-1\r\n", "*0\r\n", "$3\r\n1:2\r\n",
                                         "*1\r\n*6\r\n:1\r\n:1\r\n:1\r\n:1\r\n:1\r\n:1\r\n",
                                         "*1\r\n*1\r\n$-1\r\n", "*1\r\n$1\r\na\r\n", "-WRONGTYPE no\r\n",
                                         "HTTP/1.1 200 OK\r\n\r\n"));

using RedisLargeValueTest = RedisFixture;

TEST_F(RedisLargeValueTest, ARowAndABlobOfMegabytesAreStoredAndReadWhole) {
  const auto cache = open();
  const std::string large(std::size_t{8} << 20U, 'x');
  const auto table = emptyTable(*cache);
  ASSERT_TRUE(cache->save(blob(large), "key"));
  ASSERT_TRUE(table->upsert(item("a", large)));
  EXPECT_EQ(cache->load("key"), blob(large));
  EXPECT_THAT(table->load(Query::oldest({})), ElementsAre(blob(large)));
  EXPECT_THAT(table->load(Query::exact(CorvaneSDK::metaEquals({{"name", "a"}}))), ElementsAre(blob(large)));
  EXPECT_THAT(cache->contents().value().findings, IsEmpty());
}

TEST_F(RedisLargeValueTest, ALargeRowThatAnotherProcessWroteAgainIsSeenAtOnce) {
  const auto cache = open();
  const auto table = emptyTable(*cache);
  ASSERT_TRUE(table->upsert(item("a", std::string(std::size_t{1} << 20U, 'x'))));
  ASSERT_THAT(table->load(Query::oldest({})), SizeIs(1));
  ASSERT_TRUE(emptyTable(*open())->upsert(item("a", "small")));
  EXPECT_THAT(table->load(Query::oldest({})), ElementsAre(blob("small")));
}

TEST_F(RedisLargeValueTest, ALargeRowThatIsDamagedIsNotThere) {
  const auto table = emptyTable(*open());
  ASSERT_TRUE(table->upsert(item("a", std::string(std::size_t{1} << 20U, 'x'))));
  ASSERT_THAT(table->load(Query::oldest({})), SizeIs(1));
  (void)server.ask({"HSET", server.keys("*:row:*").at(0), "d", std::string(std::size_t{1} << 20U, 'y')});
  EXPECT_THAT(table->load(Query::oldest({})), IsEmpty());
}

TEST_F(RedisLargeValueTest, FetchingTheRowTransfersNoneOfIt) {
  constexpr std::size_t size = std::size_t{1} << 20U;
  const auto table = emptyTable(*open());
  ASSERT_TRUE(table->upsert(item("a", std::string(size, 'x'))));
  (void)server.ask({"CONFIG", "RESETSTAT"});
  EXPECT_THAT(table->fetch(Query::oldest({})), SizeIs(1));
  const std::string statistics = server.ask({"INFO", "stats"}).text;
  const std::string mark = "total_net_output_bytes:";
  const auto found = statistics.find(mark);
  ASSERT_NE(found, std::string::npos);
  EXPECT_LT(std::stoull(statistics.substr(found + mark.size())), size);
}

TEST_F(RedisLargeValueTest, APurgeReadsNoneOfIt) {
  const auto table = emptyTable(*open());
  ASSERT_TRUE(table->upsert(item("a", std::string(std::size_t{1} << 20U, 'x'))));
  clock.advance(eightDays);
  server.forgetCalls();
  EXPECT_TRUE(table->purge(everyRow()));
  EXPECT_EQ(server.callsOf("hmget"), 0);
  EXPECT_THAT(server.keys("*:row:*"), IsEmpty());
}

}  // namespace
}  // namespace vellora::hostkit::tests
