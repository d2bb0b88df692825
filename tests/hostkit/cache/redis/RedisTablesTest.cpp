#include "hostkit/cache/redis/RedisTables.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "tests/hostkit/cache/redis/RedisFixture.h"

namespace vellora::hostkit::tests {
namespace {

using CorvaneSDK::Table;

class RedisTablesTest : public RedisFixture {
 protected:
  RedisStore store{setting()};
  const Table table = Table::emptyWithKey("Rows", Table::MaxAge::sevenDays);
};

TEST_F(RedisTablesTest, ATableIsThereOnceItIsRecorded) {
  EXPECT_FALSE(redisTables::find(store, "Rows"));
  redisTables::write(store, table);
  EXPECT_EQ(redisTables::find(store, "Rows"), table);
}

TEST_F(RedisTablesTest, ATableIsRecordedForAsLongAsItKeepsRows) {
  redisTables::write(store, table);
  const std::int64_t left = server.ask({"TTL", store.keys().table("Rows")}).number;
  EXPECT_GT(left, 7 * 86'400 - 3'600);
  EXPECT_LE(left, 7 * 86'400 + 2);
}

TEST_F(RedisTablesTest, ATableWithADamagedRecordIsNotThere) {
  redisTables::write(store, table);
  (void)server.ask({"SETRANGE", store.keys().table("Rows"), "0", "7"});
  EXPECT_FALSE(redisTables::find(store, "Rows"));
}

}  // namespace
}  // namespace vellora::hostkit::tests
