#include "fuzz/AuditedCache.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "hostkit/cache/memory/MemoryCache.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Host/Table.h"

namespace vellora::fuzz {
namespace {

using CorvaneSDK::Meta;

class AuditedCacheTest : public testing::Test {
 protected:
  /// How many findings there are about that row, or blob.
  std::size_t row(const Meta& meta, const std::string& data) {
    AuditedCache cache(std::make_shared<hostkit::MemoryCache>());
    using CorvaneSDK::Table;
    const auto table = cache.createTable(Table::emptyWithKey("table", Table::MaxAge::sevenDays));
    EXPECT_TRUE(table->upsert({Data(data), meta, {}}));
    return cache.findings().size();
  }

  std::size_t blob(const std::string& key, const std::string& data) {
    AuditedCache cache(std::make_shared<hostkit::MemoryCache>());
    EXPECT_TRUE(cache.save(Data(data), key));
    EXPECT_EQ(cache.load(key), Data(data));
    return cache.findings().size();
  }

  const std::string object = R"({"name":"A","label":"a","labelPlural":"as","createable":true})";
  const std::string theme = R"({"name":"A","icons":[]})";
  const std::string layout = R"({"objectType":"A","searchColumns":[]})";
};

TEST_F(AuditedCacheTest, FindsNothingWrongWithWhatDecodesUnderItsOwnKey) {
  EXPECT_EQ(row({{"cacheEntryType", "sObjects"}}, "[" + object + "]"), 0U);
  EXPECT_EQ(row({{"cacheEntryType", "sObject"}, {"name", "A"}}, object), 0U);
  EXPECT_EQ(row({{"cacheEntryType", "keyPrefixes"}}, R"({"001":"A"})"), 0U);
  EXPECT_EQ(row({{"cacheEntryType", "keyPrefix"}}, R"("A")"), 0U);
  EXPECT_EQ(row({{"cacheEntryType", "listView"}}, R"("A")"), 0U);
  EXPECT_EQ(row({{"cacheEntryType", "listView"}}, "null"), 0U);
  EXPECT_EQ(row({{"cacheEntryType", "themes"}}, "[" + theme + "]"), 0U);
  EXPECT_EQ(row({{"cacheEntryType", "theme"}, {"name", "A"}}, theme), 0U);
  EXPECT_EQ(blob("OPS_Layout_A", R"({"objectLayoutInfo":)" + layout + R"(,"downloadedTime":1})"), 0U);
  EXPECT_EQ(blob("OPS_CompactLayout_A",
                 R"({"compactLayout":{"objectType":"A","layoutFields":[]},"downloadedTime":1})"),
            0U);
  EXPECT_EQ(blob("ops.theme.fetch.timestamp", "12345678"), 0U);
}

TEST_F(AuditedCacheTest, FindsWhatDoesNotDecode) {
  for (const auto* kind :
       {"sObjects", "sObject", "keyPrefixes", "keyPrefix", "listView", "themes", "theme"}) {
    EXPECT_EQ(row({{"cacheEntryType", kind}, {"name", "A"}}, "7"), 1U) << kind;
  }
  EXPECT_EQ(row({{"cacheEntryType", "unknown"}}, "[]"), 1U);
  EXPECT_EQ(row({}, "[]"), 1U);
  for (const auto* key : {"OPS_Layout_A", "OPS_CompactLayout_A", "ops.sobject.fetch.timestamp", "unknown"}) {
    EXPECT_EQ(blob(key, "7"), 1U) << key;
  }
}

TEST_F(AuditedCacheTest, FindsWhatStandsUnderAnotherKeyThanItsOwn) {
  EXPECT_EQ(row({{"cacheEntryType", "sObject"}, {"name", "B"}}, object), 1U);
  EXPECT_EQ(row({{"cacheEntryType", "theme"}, {"name", "B"}}, theme), 1U);
  EXPECT_EQ(blob("OPS_Layout_B", R"({"objectLayoutInfo":)" + layout + R"(,"downloadedTime":1})"), 1U);
}

}  // namespace
}  // namespace vellora::fuzz
