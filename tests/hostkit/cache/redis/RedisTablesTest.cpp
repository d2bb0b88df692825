#include "hostkit/cache/redis/RedisTables.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "tests/hostkit/cache/redis/RedisFixture.h"

namespace vellora::hostkit::tests {
namespace {

using CorvaneSDK::Table;

class RedisTablesTest : public RedisFixture {
 protected:
  /// The server's time in seconds.
  [[nodiscard]] std::int64_t present() const { return std::stoll(server.ask({"TIME"}).items[0].text); }

  RedisStore store{setting()};
  const Table table = Table::emptyWithKey("Rows", Table::MaxAge::sevenDays);
};

TEST_F(RedisTablesTest, ATableIsThereOnceItIsRecorded) {
  EXPECT_FALSE(redisTables::find(store, "Rows"));
  redisTables::write(store, table);
  EXPECT_EQ(redisTables::find(store, "Rows"), table);
}

TEST_F(RedisTablesTest, ATableIsRecordedForAsLongAsItKeepsRows) {
  constexpr std::int64_t kept = 7 * 86'400 + 2;
  const std::int64_t before = present();
  redisTables::write(store, table);
  const std::int64_t end = server.ask({"EXPIRETIME", store.keys().table("Rows")}).number;
  EXPECT_GE(end, before + kept);
  EXPECT_LE(end, present() + kept + 1);
}

TEST_F(RedisTablesTest, ATableWithADamagedRecordIsNotThere) {
  redisTables::write(store, table);
  (void)server.ask({"SETRANGE", store.keys().table("Rows"), "0", "7"});
  EXPECT_FALSE(redisTables::find(store, "Rows"));
}

}  // namespace
}  // namespace vellora::hostkit::tests
