#include "apps/vellora/cache/Purge.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/Platform/Values/Data.h"

namespace vellora::command {
namespace {

using testing::ElementsAre;
using testing::Field;
using State = CacheListing::State;

CacheListing listing(const std::string& key, State state) {
  CacheListing made;
  made.entry = key;
  made.key = key;
  made.state = state;
  return made;
}

const std::vector<CacheListing> all = {listing("OPS_Layout_A", State::fresh),
                                       listing("OPS_Layout_B", State::expired),
                                       listing("OPS_Layout_C", State::damaged), listing("mine", State::kept)};

TEST(PurgeTest, ExpiredIsWhatTheLibraryDoesNotUseAnyMore) {
  CacheArguments cache;
  cache.expired = true;
  EXPECT_THAT(doomed(all, cache), ElementsAre(Field(&CacheListing::entry, "OPS_Layout_B"),
                                              Field(&CacheListing::entry, "OPS_Layout_C")));
}

TEST(PurgeTest, AnEntryThatIsNamedTwiceIsDeletedOnce) {
  CacheArguments cache;
  cache.entries = {"layout/A", "OPS_Layout_A", "layout/A"};
  EXPECT_THAT(doomed(all, cache), ElementsAre(Field(&CacheListing::entry, "OPS_Layout_A")));
}

TEST(PurgeTest, TellsHowManyEntriesItDeleted) {
  const tests::TemporaryFolder folder;
  const std::string file = folder.file("cache.sqlite");
  ASSERT_TRUE(hostkit::SQLiteCache::open(file).value()->save(Data(std::string("1")), "mine"));
  const auto deleted = purgeEntries(file, {listing("mine", State::kept)});
  EXPECT_EQ(std::get<std::size_t>(deleted), 1U);
  EXPECT_EQ(hostkit::SQLiteCache::open(file).value()->load("mine"), std::nullopt);
  EXPECT_EQ(deletedText(1), "deleted 1 entry");
  EXPECT_EQ(deletedText(0), "deleted 0 entries");
}

}  // namespace
}  // namespace vellora::command
