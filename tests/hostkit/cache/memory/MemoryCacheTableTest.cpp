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

constexpr double sevenDays = 7 * 24 * 60 * 60;

TEST(MemoryCacheTableTest, ARowOfJustSevenDaysStaysWhenAnotherIsWritten) {
  tests::ManualClock clock;
  MemoryCacheTable table(CorvaneSDK::Table::MaxAge::sevenDays, clock.function());
  table.upsert({Data(std::string("old")), {{"name", "a"}}, std::nullopt});
  clock.advance(sevenDays);
  table.upsert({Data(std::string("new")), {{"name", "b"}}, std::nullopt});
  EXPECT_EQ(table.fetch(Query::exact(metaEquals({{"name", "a"}}))).size(), 1U);
  clock.advance(-2 * sevenDays);
  table.upsert({Data(std::string("earlier")), {{"name", "c"}}, std::nullopt});
  EXPECT_EQ(table.fetch(Query::exact(metaEquals({{"name", "a"}}))).size(), 1U)
      << "and so in the other direction";
}

TEST(MemoryCacheTableTest, ARowOfTheFarFutureIsGoneOnceAnotherIsWritten) {
  tests::ManualClock clock;
  MemoryCacheTable table(CorvaneSDK::Table::MaxAge::sevenDays, clock.function());
  table.upsert({Data(std::string("future")), {{"name", "a"}}, std::nullopt});
  clock.advance(-2 * sevenDays);
  table.upsert({Data(std::string("now")), {{"name", "b"}}, std::nullopt});
  clock.advance(2 * sevenDays);
  EXPECT_TRUE(table.fetch(Query::exact(metaEquals({{"name", "a"}}))).empty());
}

}  // namespace
}  // namespace vellora::hostkit
