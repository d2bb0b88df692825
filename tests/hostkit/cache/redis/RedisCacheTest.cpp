#include "hostkit/cache/redis/RedisCache.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
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
using CorvaneSDK::Query;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

class RedisCacheTest : public RedisFixture {
 protected:
  [[nodiscard]] std::shared_ptr<RedisCache> openFor(const std::string& owner) {
    auto own = options();
    own.owner = owner;
    return open(std::move(own));
  }
};

TEST_F(RedisCacheTest, IsOpenBeforeAnythingIsConnected) {
  server.kill();
  EXPECT_TRUE(RedisCache::open(server.address()).hasValue());
}

TEST_F(RedisCacheTest, AnAddressThatIsNoneIsRefusedAndNotRepeated) {
  const auto cache = RedisCache::open("redis://:secret@cache.example");
  ASSERT_FALSE(cache);
  EXPECT_EQ(cache.error().as<RedisCacheError>()->reason, Reason::invalidAddress);
  EXPECT_THAT(cache.error().localizedDescription(), Not(HasSubstr("secret")));
}

TEST_F(RedisCacheTest, ProcessesShareWhatTheyStore) {
  const auto one = open();
  const auto other = open();
  ASSERT_TRUE(one->save(blob("text"), "key"));
  ASSERT_TRUE(emptyTable(*one)->upsert(item("a", "1")));
  EXPECT_EQ(other->load("key"), blob("text"));
  ASSERT_NE(other->openTable("Rows"), nullptr);
  EXPECT_THAT(other->openTable("Rows")->load(Query::oldest({})), ElementsAre(blob("1")));
}

TEST_F(RedisCacheTest, AnotherOwnerFindsNothing) {
  const auto one = openFor("user 1");
  ASSERT_TRUE(one->save(blob("text"), "key"));
  ASSERT_TRUE(emptyTable(*one)->upsert(item("a", "1")));
  for (const auto& other : {openFor("user 2"), openFor(""), open()}) {
    EXPECT_FALSE(other->load("key"));
    EXPECT_EQ(other->openTable("Rows"), nullptr);
  }
}

TEST_F(RedisCacheTest, EveryKeyBearsTheFormOfWhatIsStored) {
  const auto cache = open();
  ASSERT_TRUE(cache->save(blob("text"), "key"));
  ASSERT_TRUE(emptyTable(*cache)->upsert(item("a", "1")));
  EXPECT_THAT(server.keys(), Each(StartsWith("{vellora}:1:")));
}

TEST_F(RedisCacheTest, NoKeyNamesItsOwner) {
  const auto cache = openFor("user 1");
  ASSERT_TRUE(cache->save(blob("text"), "key"));
  ASSERT_TRUE(emptyTable(*cache)->upsert(item("a", "1")));
  EXPECT_THAT(server.keys(), Each(Not(HasSubstr("user 1"))));
}

TEST_F(RedisCacheTest, ClearingDeletesTheOwnersCacheAlone) {
  const auto one = openFor("user 1");
  const auto other = openFor("user 2");
  for (const auto& cache : {one, other}) {
    ASSERT_TRUE(cache->save(blob("text"), "key"));
    ASSERT_TRUE(emptyTable(*cache)->upsert(item("a", "1")));
  }
  const auto before = server.keys().size();
  EXPECT_TRUE(one->clear());
  EXPECT_FALSE(one->load("key"));
  EXPECT_EQ(one->openTable("Rows"), nullptr);
  EXPECT_EQ(other->load("key"), blob("text"));
  EXPECT_THAT(server.keys(), SizeIs(before / 2));
}

TEST_F(RedisCacheTest, AFullServerTakesNoWritesAndGivesWhatItHas) {
  const auto cache = open();
  ASSERT_TRUE(cache->save(blob("1"), "key"));
  (void)server.ask({"CONFIG", "SET", "maxmemory", "1"});
  EXPECT_FALSE(cache->save(blob("2"), "key"));
  EXPECT_THAT(told.reasons(), ElementsAre(Reason::full));
  EXPECT_EQ(cache->load("key"), blob("1"));
  EXPECT_TRUE(cache->remove("key"));
  (void)server.ask({"CONFIG", "SET", "maxmemory", "0"});
  EXPECT_TRUE(cache->save(blob("2"), "key"));
}

TEST_F(RedisCacheTest, AServerThatIsAReplicaNowIsLeftForTheNextOne) {
  const auto cache = open();
  ASSERT_TRUE(cache->save(blob("1"), "key"));
  (void)server.ask({"REPLICAOF", "127.0.0.1", "1"});
  EXPECT_FALSE(cache->save(blob("2"), "key"));
  EXPECT_FALSE(emptyTable(*cache)->upsert(item("a", "1")));
  EXPECT_THAT(told.reasons(), Each(Reason::unready));
  (void)server.ask({"REPLICAOF", "NO", "ONE"});
  EXPECT_TRUE(cache->save(blob("2"), "key"));
}

TEST_F(RedisCacheTest, AServerThatIsGoneIsAMissAndATableNonetheless) {
  const auto cache = open();
  server.kill();
  EXPECT_FALSE(cache->load("key"));
  EXPECT_FALSE(cache->save(blob("1"), "key"));
  EXPECT_FALSE(cache->remove("key"));
  EXPECT_EQ(cache->openTable("Rows"), nullptr);
  EXPECT_NE(emptyTable(*cache), nullptr);
  EXPECT_FALSE(cache->clear());
}

TEST_F(RedisCacheTest, AServerThatStandsStillIsAMiss) {
  auto hasty = options();
  hasty.timeout = std::chrono::milliseconds(30);
  const auto cache = open(std::move(hasty));
  server.halt();
  EXPECT_FALSE(cache->load("key"));
  server.goOn();
  EXPECT_THAT(told.reasons(), ElementsAre(Reason::timedOut));
}

TEST_F(RedisCacheTest, TellsWhatFailedAndWhetherItWasAWrite) {
  const auto cache = open();
  server.kill();
  (void)cache->load("key");
  (void)cache->save(blob("1"), "key");
  ASSERT_THAT(told.all(), SizeIs(2));
  EXPECT_EQ(told.all()[0].operation, RedisCacheFailure::Operation::reading);
  EXPECT_EQ(told.all()[1].operation, RedisCacheFailure::Operation::writing);
  EXPECT_EQ(told.all()[1].error.server, server.address());
}

TEST_F(RedisCacheTest, ATableOutlivesItsCache) {
  auto cache = open();
  const auto table = emptyTable(*cache);
  cache.reset();
  EXPECT_TRUE(table->upsert(item("a", "1")));
  EXPECT_THAT(table->load(Query::oldest({})), ElementsAre(blob("1")));
}

TEST(RedisCacheTlsTest, KeepsItsEntriesInAServerWithTls) {
  const TlsRedisServer server;
  RedisCache::Options options;
  options.timeout = longTimeout;
  options.caFile = server.certificate();
  const auto cache = RedisCache::open(server.address(), options).value();
  ASSERT_TRUE(cache->save(blob("text"), "key"));
  EXPECT_EQ(cache->load("key"), blob("text"));
}

}  // namespace
}  // namespace vellora::hostkit::tests
