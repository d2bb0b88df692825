#include "vellora/Host/CacheEntry.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace CorvaneSDK {
namespace {

TEST(CacheEntryTest, IsMadeOfDataMetaAndKeyInParenthesesAndInBraces) {
  const vellora::Data data(std::string("[1]"));
  const Meta meta{{"cacheEntryType", "themes"}};
  const auto entry = CacheEntry(data, meta, "key");
  EXPECT_EQ(entry.data, data);
  EXPECT_EQ(entry.meta, meta);
  EXPECT_EQ(entry.dataKey, "key");
  EXPECT_EQ(entry, (CacheEntry{data, meta, "key"}));
}

TEST(CacheEntryTest, HasNoKeyUnlessItIsGivenOne) {
  EXPECT_EQ(CacheEntry(vellora::Data(std::string("[1]")), {}).dataKey, std::nullopt);
  EXPECT_EQ(CacheEntry(), CacheEntry(vellora::Data(), {}, std::nullopt));
}

}  // namespace
}  // namespace CorvaneSDK
