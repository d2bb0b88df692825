#include "hostkit/cache/redis/RedisLeases.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>

#include "tests/hostkit/cache/redis/RedisFixture.h"

namespace vellora::hostkit::tests {
namespace {

class RedisLeasesTest : public RedisFixture {
 protected:
  static constexpr std::chrono::hours long_{1};

  RedisLeases leases{std::make_shared<RedisStore>(setting()), {.lease = long_, .answer = long_}};
};

TEST_F(RedisLeasesTest, TheFirstWhoAsksMaySend) {
  const auto first = leases.ask("/theme");
  EXPECT_TRUE(first.maySend);
  EXPECT_NE(first.token, "");
  const auto second = leases.ask("/theme");
  EXPECT_FALSE(second.maySend);
  EXPECT_FALSE(second.answer);
  EXPECT_TRUE(leases.ask("/sobjects").maySend);
}

TEST_F(RedisLeasesTest, TheOthersAreGivenTheAnswer) {
  const auto first = leases.ask("/theme");
  leases.giveBack("/theme", first.token, Data("{}"));
  const auto second = leases.ask("/theme");
  EXPECT_FALSE(second.maySend);
  EXPECT_EQ(second.answer, Data("{}"));
}

TEST_F(RedisLeasesTest, WithoutAnAnswerTheNextOneMaySend) {
  const auto first = leases.ask("/theme");
  leases.giveBack("/theme", first.token, std::nullopt);
  EXPECT_TRUE(leases.ask("/theme").maySend);
}

TEST_F(RedisLeasesTest, LeaseAndAnswerExpire) {
  const auto first = leases.ask("/theme");
  const std::int64_t lease = server.ask({"PTTL", "{test}:lease:/theme"}).number;
  EXPECT_GT(lease, 0);
  EXPECT_LE(lease, std::chrono::milliseconds(long_).count());
  leases.giveBack("/theme", first.token, Data("{}"));
  const std::int64_t answer = server.ask({"PTTL", "{test}:answer:/theme"}).number;
  EXPECT_GT(answer, 0);
  EXPECT_LE(answer, std::chrono::milliseconds(long_).count());
}

TEST_F(RedisLeasesTest, ALeaseThatRanOutIsNotGivenBackForTheNextHolder) {
  const auto first = leases.ask("/theme");
  (void)server.ask({"DEL", "{test}:lease:/theme"});
  const auto second = leases.ask("/theme");
  ASSERT_TRUE(second.maySend);
  leases.giveBack("/theme", first.token, Data("late"));
  const auto third = leases.ask("/theme");
  EXPECT_FALSE(third.maySend);
  EXPECT_FALSE(third.answer);
}

TEST_F(RedisLeasesTest, ADamagedAnswerIsNone) {
  const auto first = leases.ask("/theme");
  leases.giveBack("/theme", first.token, Data("{}"));
  (void)server.ask({"APPEND", "{test}:answer:/theme", "x"});
  const auto second = leases.ask("/theme");
  EXPECT_TRUE(second.maySend);
  EXPECT_FALSE(second.answer);
}

TEST_F(RedisLeasesTest, WithoutARedisEverybodyMaySend) {
  server.kill();
  const auto decision = leases.ask("/theme");
  EXPECT_TRUE(decision.maySend);
  EXPECT_EQ(decision.token, "");
}

}  // namespace
}  // namespace vellora::hostkit::tests
