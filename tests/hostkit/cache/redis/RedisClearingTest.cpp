#include "hostkit/cache/redis/RedisClearing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "hostkit/cache/redis/RedisBlobs.h"
#include "tests/hostkit/cache/redis/RedisFixture.h"

namespace vellora::hostkit::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using RedisClearingTest = RedisFixture;

TEST_F(RedisClearingTest, DeletesThousandsOfKeysAndNoOther) {
  RedisStore store(setting());
  RedisCommand others{"MSET", "{test}", "1", "other", "1"};
  for (int i = 0; i < 2500; ++i) {
    others.push_back(store.keys().blob(std::to_string(i)));
    others.emplace_back("1");
  }
  (void)server.ask(others);
  EXPECT_TRUE(redisClearing::clear(store));
  EXPECT_THAT(server.keys(), ElementsAre("other", "{test}"));
  EXPECT_EQ(server.callsOf("del"), 0);
}

TEST_F(RedisClearingTest, APrefixIsNoPattern) {
  auto own = setting();
  own.keys = {"{t*[s]?\\}:"};
  RedisStore store(std::move(own));
  ASSERT_TRUE(redisBlobs::write(store, "a", Data("1")));
  (void)server.ask({"SET", "{test}:blob:a", "1"});
  EXPECT_TRUE(redisClearing::clear(store));
  EXPECT_THAT(server.keys(), ElementsAre("{test}:blob:a"));
}

TEST_F(RedisClearingTest, ClearingNothingIsDone) {
  RedisStore store(setting());
  EXPECT_TRUE(redisClearing::clear(store));
  EXPECT_EQ(server.callsOf("unlink"), 0);
}

TEST_F(RedisClearingTest, TellsThatNothingWasDeleted) {
  RedisStore store(setting());
  server.kill();
  EXPECT_FALSE(redisClearing::clear(store));
}

}  // namespace
}  // namespace vellora::hostkit::tests
