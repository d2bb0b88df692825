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

  /// Puts 5000 keys of the cache there.
  void fill(const std::string& name) const {
    const std::string script = "for i = 1, 5000 do redis.call('SET', '{test}:" + name + "' .. i, '1') end";
    (void)server.ask({"EVAL", script, "0"});
  }

  /// A server that has other keys now, in another order.
  void restartFull() {
    server.kill();
    server.start();
    fill("new");
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
  fill("");
  EXPECT_THAT(namesIn(store), SizeIs(5000));
  EXPECT_GT(server.callsOf("scan"), 1);
}

TEST_F(RedisNamesTest, EndsWithTheFirstPartThatIsRefused) {
  RedisStore store(setting());
  fill("");
  server.forgetCalls();
  EXPECT_FALSE(redisNames::each(store, Access::reading, [](const auto&) { return false; }));
  EXPECT_EQ(server.callsOf("scan"), 1);
}

TEST_F(RedisNamesTest, ARestartBetweenTwoPartsHidesNoName) {
  RedisStore store(setting());
  fill("old");
  std::set<std::string> all;
  EXPECT_TRUE(redisNames::each(store, Access::reading, [&](const std::vector<std::string>& names) {
    if (all.empty()) restartFull();
    all.insert(names.begin(), names.end());
    return true;
  }));
  std::erase_if(all, [](const std::string& name) { return !name.starts_with("{test}:new"); });
  EXPECT_THAT(all, SizeIs(5000));
}

TEST_F(RedisNamesTest, ARestartAtTheLastPartHidesNoName) {
  RedisStore store(setting());
  (void)server.ask({"SET", "{test}:only", "1"});
  std::set<std::string> all;
  EXPECT_TRUE(redisNames::each(store, Access::reading, [&](const std::vector<std::string>& names) {
    if (all.empty()) {
      restartFull();
      (void)store.ask({"PING"},
                      Access::reading);  // on the new connection, as whatever is done with the names
    }
    all.insert(names.begin(), names.end());
    return true;
  }));
  EXPECT_THAT(all, SizeIs(5001));
}

TEST_F(RedisNamesTest, AConnectionThatIsLostAgainAndAgainEndsIt) {
  RedisStore store(setting());
  fill("old");
  int attempts = 0;
  EXPECT_FALSE(redisNames::each(store, Access::reading, [&](const auto&) {
    ++attempts;
    (void)server.ask({"CLIENT", "KILL", "TYPE", "normal", "SKIPME", "yes"});
    return true;
  }));
  EXPECT_EQ(attempts, 10);
  EXPECT_THAT(told.reasons(), ElementsAre(Reason::failed));
}

TEST_F(RedisNamesTest, AServerThatIsGoneHasNone) {
  RedisStore store(setting());
  server.kill();
  EXPECT_FALSE(redisNames::each(store, Access::reading, [](const auto&) { return true; }));
  EXPECT_THAT(told.reasons(), ElementsAre(Reason::unreachable));
}

}  // namespace
}  // namespace vellora::hostkit::tests
