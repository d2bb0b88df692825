#include "hostkit/cache/memory/MemoryCacheTable.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/hostkit/cache/ManualClock.h"

namespace vellora::hostkit {
namespace {

using CorvaneSDK::metaEquals;
using CorvaneSDK::Query;
using CorvaneSDK::Row;

TEST(MemoryCacheTableTest, ARowRewrittenWhileItsPurgeIsDecidedStays) {
  const tests::ManualClock clock;
  MemoryCacheTable table(CorvaneSDK::Table::MaxAge::sevenDays, clock.function());
  table.upsert({Data(std::string("old")), {{"name", "a"}}, std::nullopt});

  table.purge([&table](const Row&) {
    table.upsert({Data(std::string("new")), {{"name", "a"}}, std::nullopt});
    return true;
  });

  const auto blobs = table.load(Query::exact(metaEquals({{"name", "a"}})));
  ASSERT_EQ(blobs.size(), 1U);
  EXPECT_EQ(blobs[0].view(), "new");
}

TEST(MemoryCacheTableTest, LoadedDataSharesTheBytesThatWereWritten) {
  const tests::ManualClock clock;
  MemoryCacheTable table(CorvaneSDK::Table::MaxAge::sevenDays, clock.function());
  const Data written(std::string("bytes"));
  table.upsert({written, {{"name", "a"}}, std::nullopt});

  const auto blobs = table.load(Query::exact(metaEquals({{"name", "a"}})));

  ASSERT_EQ(blobs.size(), 1U);
  EXPECT_TRUE(blobs[0].sharesBufferWith(written));
}

}  // namespace
}  // namespace vellora::hostkit
