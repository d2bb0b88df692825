#include "hostkit/cache/redis/RedisLeases.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "tests/hostkit/cache/redis/RedisFixture.h"

namespace vellora::hostkit::tests {
namespace {

using Turn = RedisLeases::Turn;

class RedisLeasesTest : public RedisFixture {
 protected:
  static constexpr std::chrono::hours long_{1};

  [[nodiscard]] std::int64_t lifeOf(const std::string& key) const { return server.ask({"PTTL", key}).number; }

  const std::string lease = "{test}:lease:/theme";
  const std::string answer = "{test}:answer:/theme";
  RedisLeases leases{std::make_shared<RedisStore>(setting()), {.lease = long_, .answer = long_}};
};

TEST_F(RedisLeasesTest, TheFirstWhoAsksMaySend) {
  EXPECT_EQ(leases.ask("/theme", "1").turn, Turn::own);
  const auto second = leases.ask("/theme", "2");
  EXPECT_EQ(second.turn, Turn::another);
  EXPECT_FALSE(second.answer);
  EXPECT_EQ(leases.ask("/sobjects", "2").turn, Turn::own);
}

TEST_F(RedisLeasesTest, WhoeverAsksAgainUnderTheSameTokenStillMaySend) {
  EXPECT_EQ(leases.ask("/theme", "1").turn, Turn::own);
  EXPECT_EQ(leases.ask("/theme", "1").turn, Turn::own);
}

TEST_F(RedisLeasesTest, NoTwoTokensAreEqual) {
  EXPECT_NE(RedisLeases::newToken(), "");
  EXPECT_NE(RedisLeases::newToken(), RedisLeases::newToken());
}

TEST_F(RedisLeasesTest, TheOthersAreGivenTheAnswer) {
  (void)leases.ask("/theme", "1");
  leases.giveBack("/theme", "1", Data("{}"));
  EXPECT_EQ(leases.ask("/theme", "2").answer, Data("{}"));
}

TEST_F(RedisLeasesTest, WithoutAnAnswerTheNextOneMaySend) {
  (void)leases.ask("/theme", "1");
  leases.giveBack("/theme", "1", std::nullopt);
  EXPECT_EQ(leases.ask("/theme", "2").turn, Turn::own);
}

TEST_F(RedisLeasesTest, LeaseAndAnswerExpire) {
  (void)leases.ask("/theme", "1");
  EXPECT_GT(lifeOf(lease), 0);
  EXPECT_LE(lifeOf(lease), std::chrono::milliseconds(long_).count());
  leases.giveBack("/theme", "1", Data("{}"));
  EXPECT_GT(lifeOf(answer), 0);
  EXPECT_LE(lifeOf(answer), std::chrono::milliseconds(long_).count());
}

TEST_F(RedisLeasesTest, ALeaseIsRenewedByItsHolderAlone) {
  (void)leases.ask("/theme", "1");
  constexpr std::int64_t half = std::chrono::milliseconds(long_).count() / 2;
  (void)server.ask({"PEXPIRE", lease, std::to_string(half)});
  leases.renew("/theme", "2");
  EXPECT_LE(lifeOf(lease), half);
  leases.renew("/theme", "1");
  EXPECT_GT(lifeOf(lease), half);
}

TEST_F(RedisLeasesTest, ALeaseThatIsGoneIsNotRenewed) {
  leases.renew("/theme", "1");
  EXPECT_EQ(leases.ask("/theme", "2").turn, Turn::own);
}

TEST_F(RedisLeasesTest, ALeaseThatRanOutIsNotGivenBackForTheNextHolder) {
  (void)leases.ask("/theme", "1");
  (void)server.ask({"DEL", lease});
  ASSERT_EQ(leases.ask("/theme", "2").turn, Turn::own);
  leases.giveBack("/theme", "1", std::nullopt);
  EXPECT_EQ(leases.ask("/theme", "3").turn, Turn::another);
}

TEST_F(RedisLeasesTest, AnAnswerThatComesAfterItsLeaseRanOutIsForAll) {
  (void)leases.ask("/theme", "1");
  (void)server.ask({"DEL", lease});
  ASSERT_EQ(leases.ask("/theme", "2").turn, Turn::own);
  leases.giveBack("/theme", "1", Data("late"));
  EXPECT_EQ(leases.ask("/theme", "3").answer, Data("late"));
  EXPECT_EQ(server.ask({"GET", lease}).text, "2");
}

TEST_F(RedisLeasesTest, TheHoldersAnswerReplacesAnothers) {
  (void)leases.ask("/theme", "2");
  leases.giveBack("/theme", "1", Data("late"));
  leases.giveBack("/theme", "2", Data("new"));
  leases.giveBack("/theme", "1", Data("later"));
  EXPECT_EQ(leases.ask("/theme", "3").answer, Data("new"));
}

TEST_F(RedisLeasesTest, ADamagedAnswerIsNone) {
  (void)leases.ask("/theme", "1");
  leases.giveBack("/theme", "1", Data("{}"));
  (void)server.ask({"APPEND", answer, "x"});
  const auto second = leases.ask("/theme", "2");
  EXPECT_EQ(second.turn, Turn::unknown);
  EXPECT_FALSE(second.answer);
}

TEST_F(RedisLeasesTest, WithoutARedisItIsNotKnownWhoSends) {
  server.kill();
  EXPECT_EQ(leases.ask("/theme", "1").turn, Turn::unknown);
}

}  // namespace
}  // namespace vellora::hostkit::tests
