#include "hostkit/cache/redis/RedisBlobs.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "tests/hostkit/cache/redis/RedisFixture.h"

namespace vellora::hostkit::tests {
namespace {

class RedisBlobsTest : public RedisFixture {
 protected:
  RedisStore store{setting()};
  const std::string key = store.keys().blob("a");
};

TEST_F(RedisBlobsTest, ABlobWithAnotherByteIsNotThere) {
  ASSERT_TRUE(redisBlobs::write(store, "a", Data("text")));
  ASSERT_EQ(redisBlobs::read(store, "a"), Data("text"));
  const auto size = server.ask({"STRLEN", key}).number;
  (void)server.ask({"SETRANGE", key, std::to_string(size - 1), "T"});
  EXPECT_FALSE(redisBlobs::read(store, "a"));
}

TEST_F(RedisBlobsTest, ABlobUnderAnotherKeyIsNotThere) {
  ASSERT_TRUE(redisBlobs::write(store, "a", Data("text")));
  (void)server.ask({"RENAME", key, store.keys().blob("b")});
  EXPECT_FALSE(redisBlobs::read(store, "b"));
}

TEST_F(RedisBlobsTest, WhatIsNoBlobIsNotThere) {
  (void)server.ask({"SET", key, "text without a checksum"});
  EXPECT_FALSE(redisBlobs::read(store, "a"));
  (void)server.ask({"DEL", key});
  (void)server.ask({"SADD", key, "a set"});
  EXPECT_FALSE(redisBlobs::read(store, "a"));
}

TEST_F(RedisBlobsTest, ABlobIsKeptForThirtyDays) {
  constexpr std::int64_t thirtyDays = 30 * 86'400;
  ASSERT_TRUE(redisBlobs::write(store, "a", Data("text")));
  const std::int64_t left = server.ask({"TTL", key}).number;
  EXPECT_GT(left, thirtyDays - 3'600);
  EXPECT_LE(left, thirtyDays);
}

TEST_F(RedisBlobsTest, ARemovedBlobIsUnlinked) {
  ASSERT_TRUE(redisBlobs::write(store, "a", Data("text")));
  ASSERT_TRUE(redisBlobs::remove(store, "a"));
  EXPECT_EQ(server.ask({"EXISTS", key}).number, 0);
  EXPECT_EQ(server.callsOf("unlink"), 1);
}

}  // namespace
}  // namespace vellora::hostkit::tests
