#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <new>
#include <optional>
#include <string>

#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Host/Query.h"
#include "vellora/Host/Table.h"

// A cache file is opened, written, read and purged again and again. The first time its first allocation
// fails, then its second, until there is none of that number; alone, and with all that follow it.

namespace vellora::hostkit {
namespace {

using CorvaneSDK::Table;
using Extent = tests::AllocationFailure::Extent;

const std::string text(200, 'x');  // longer than what a string keeps in itself

void useCache(const std::string& path) {
  SQLiteCache::Options options;
  options.owner = text;
  const auto opened = SQLiteCache::open(path, options);
  if (!opened) return;
  auto& cache = *opened.value();
  cache.save(Data(text), "a");
  static_cast<void>(cache.load("a"));
  const auto table = cache.createTable(Table::emptyWithKey("t", Table::MaxAge::sevenDays));
  table->upsert({Data(text), {{"name", text}}, std::nullopt});
  static_cast<void>(table->load(CorvaneSDK::Query::exact(CorvaneSDK::metaEquals({{"name", text}}))));
  table->purge([](const auto&) { return true; });
}

/// Whether there was an allocation of that number.
bool failOnce(const std::string& path, std::size_t number, Extent extent) {
  const tests::AllocationFailure failure(number, extent);
  try {
    useCache(path);
  } catch (const std::bad_alloc&) {  // on the thread that called
  }
  return failure.happened();
}

class CacheAllocationTest : public testing::TestWithParam<Extent> {
 protected:
  const tests::TemporaryFolder folder;
  const std::string path = folder.file("cache.sqlite");
};

TEST_P(CacheAllocationTest, NoneThatFailsEndsTheProcessOrMakesTheCacheUnusable) {
  std::size_t number = 0;
  while (failOnce(path, ++number, GetParam())) {
    SQLiteCache::Options options;
    options.owner = text;
    const auto opened = SQLiteCache::open(path, options);
    ASSERT_TRUE(opened) << number << ": " << opened.error().localizedDescription();
    ASSERT_TRUE(opened.value()->save(Data("1"), "b")) << number;
    const auto kept = opened.value()->load("a");
    ASSERT_TRUE(!kept || kept == Data(text)) << number;
  }
  EXPECT_GT(number, 50U);
  EXPECT_FALSE(std::filesystem::exists(path + ".damaged-1"));
}

INSTANTIATE_TEST_SUITE_P(EachExtent, CacheAllocationTest,
                         testing::Values(Extent::one, Extent::allFromThereOn), [](const auto& extent) {
                           return extent.param == Extent::one ? "OneFails" : "AllFromThereOnFail";
                         });

}  // namespace
}  // namespace vellora::hostkit
