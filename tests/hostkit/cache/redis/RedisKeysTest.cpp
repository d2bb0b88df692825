#include "hostkit/cache/redis/RedisKeys.h"

#include <gtest/gtest.h>

namespace vellora::hostkit::tests {
namespace {

const RedisKeys keys{"{space}:"};

TEST(RedisKeysTest, NamesBeginWithTheCachesOwnPrefix) {
  EXPECT_EQ(keys.blob("layout"), "{space}:blob:layout");
  EXPECT_EQ(keys.table("Rows"), "{space}:table:Rows");
  EXPECT_EQ(keys.order("Rows"), "{space}:order:Rows");
  EXPECT_EQ(keys.metas("Rows"), "{space}:metas:Rows");
  EXPECT_EQ(keys.rows("Rows"), "{space}:row:4:Rows:");
  EXPECT_EQ(keys.pairs("Rows"), "{space}:pair:4:Rows:");
}

TEST(RedisKeysTest, ARowOfOneTableIsNoneOfAnother) {
  EXPECT_NE(keys.rows("A") + "1:B:key", keys.rows("A:1:B") + "key");
}

}  // namespace
}  // namespace vellora::hostkit::tests
