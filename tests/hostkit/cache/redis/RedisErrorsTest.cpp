#include "hostkit/cache/redis/RedisErrors.h"

#include <gtest/gtest.h>

namespace vellora::hostkit::tests {
namespace {

using redisErrors::endsTheConnection;
using redisErrors::reasonFor;
using Reason = RedisCacheError::Reason;

TEST(RedisErrorsTest, AnswersAreKnownByTheirFirstWord) {
  EXPECT_EQ(reasonFor("OOM command not allowed when used memory > 'maxmemory'."), Reason::full);
  EXPECT_EQ(reasonFor("MISCONF Redis is configured to save RDB snapshots"), Reason::full);
  EXPECT_EQ(reasonFor("NOAUTH Authentication required."), Reason::refused);
  EXPECT_EQ(reasonFor("WRONGPASS invalid username-password pair"), Reason::refused);
  EXPECT_EQ(reasonFor("NOPERM this user has no permissions"), Reason::refused);
  EXPECT_EQ(reasonFor("LOADING Redis is loading the dataset in memory"), Reason::unready);
  EXPECT_EQ(reasonFor("READONLY You can't write against a read only replica."), Reason::unready);
  EXPECT_EQ(reasonFor("MASTERDOWN Link with MASTER is down"), Reason::unready);
  EXPECT_EQ(reasonFor("BUSY Redis is busy running a script."), Reason::unready);
  EXPECT_EQ(reasonFor("ERR max number of clients reached"), Reason::unready);
  EXPECT_EQ(reasonFor("ERR unknown command"), Reason::failed);
  EXPECT_EQ(reasonFor("OOMPH is no code"), Reason::failed);
}

TEST(RedisErrorsTest, AnOlderServerQuotesWhatAScriptMetWith) {
  EXPECT_EQ(reasonFor("ERR Error running script (call to f_12): @user_script:3: -READONLY You can't write"),
            Reason::unready);
}

TEST(RedisErrorsTest, OnlyAnotherServerOrUserDoesBetter) {
  EXPECT_TRUE(endsTheConnection(Reason::unready));
  EXPECT_TRUE(endsTheConnection(Reason::refused));
  EXPECT_FALSE(endsTheConnection(Reason::full));
  EXPECT_FALSE(endsTheConnection(Reason::failed));
}

}  // namespace
}  // namespace vellora::hostkit::tests
