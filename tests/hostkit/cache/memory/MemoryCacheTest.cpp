#include "hostkit/cache/memory/MemoryCache.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "vellora/Host/CacheTable.h"

namespace vellora::hostkit {
namespace {

TEST(MemoryCacheTest, SharesTheBytesThatWereSaved) {
  MemoryCache cache;
  const Data saved(std::string("bytes"));
  cache.save(saved, "key");

  const auto loaded = cache.load("key");

  ASSERT_TRUE(loaded.has_value());
  EXPECT_TRUE(loaded->sharesBufferWith(saved));
}

TEST(MemoryCacheTest, ForgetsEverythingWithTheObject) {
  auto cache = std::make_unique<MemoryCache>();
  cache->save(Data(std::string("bytes")), "key");

  cache = std::make_unique<MemoryCache>();

  EXPECT_FALSE(cache->load("key").has_value());
}

TEST(MemoryCacheTest, HandsOutOneTablePerKey) {
  MemoryCache cache;
  const auto table = CorvaneSDK::Table::emptyWithKey("Rows", CorvaneSDK::Table::MaxAge::sevenDays);
  const auto created = cache.createTable(table);
  EXPECT_EQ(cache.createTable(table), created);
  EXPECT_EQ(cache.openTable("Rows"), created);
}

}  // namespace
}  // namespace vellora::hostkit
