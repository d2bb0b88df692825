#include "hostkit/cache/redis/RedisNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "tests/hostkit/cache/redis/RedisFixture.h"

namespace vellora::hostkit::tests {
namespace {

using testing::ElementsAre;
using testing::SizeIs;
using Access = RedisStore::Access;

class RedisNamesTest : public RedisFixture {
 protected:
  std::set<std::string> namesIn(RedisStore& store) {
    std::set<std::string> all;
    EXPECT_TRUE(redisNames::each(store, Access::reading, [&all](const std::vector<std::string>& names) {
      all.insert(names.begin(), names.end());
      return true;
    }));
    return all;
  }
};

TEST_F(RedisNamesTest, GivesTheNamesOfTheCacheAndOfNoOther) {
  RedisStore store(setting());
  for (const std::string name : {"{test}:a", "{test}:b", "{tes}:c", "{tests}:d"})
    (void)server.ask({"SET", name, "1"});
  EXPECT_THAT(namesIn(store), ElementsAre("{test}:a", "{test}:b"));
}

TEST_F(RedisNamesTest, APrefixIsNoPattern) {
  auto odd = setting();
  odd.keys.prefix = "{a*[b]?\\^-}:";
  RedisStore store(std::move(odd));
  for (const std::string name : {"{a*[b]?\\^-}:1", "{aXb?\\^-}:2", "{a*bc\\^-}:3"})
    (void)server.ask({"SET", name, "1"});
  EXPECT_THAT(namesIn(store), ElementsAre("{a*[b]?\\^-}:1"));
}

TEST_F(RedisNamesTest, ThousandsComeInSeveralParts) {
  RedisStore store(setting());
  (void)server.ask({"EVAL", "for i = 1, 5000 do redis.call('SET', '{test}:' .. i, '1') end", "0"});
  EXPECT_THAT(namesIn(store), SizeIs(5000));
  EXPECT_GT(server.callsOf("scan"), 1);
}

TEST_F(RedisNamesTest, EndsWithTheFirstPartThatIsRefused) {
  RedisStore store(setting());
  (void)server.ask({"EVAL", "for i = 1, 5000 do redis.call('SET', '{test}:' .. i, '1') end", "0"});
  server.forgetCalls();
  EXPECT_FALSE(redisNames::each(store, Access::reading, [](const auto&) { return false; }));
  EXPECT_EQ(server.callsOf("scan"), 1);
}

TEST_F(RedisNamesTest, AServerThatIsGoneHasNone) {
  RedisStore store(setting());
  server.kill();
  EXPECT_FALSE(redisNames::each(store, Access::reading, [](const auto&) { return true; }));
  EXPECT_THAT(told.reasons(), ElementsAre(Reason::unreachable));
}

}  // namespace
}  // namespace vellora::hostkit::tests
