#include <algorithm>
#include <limits>

#include "tests/vellora/DataServices/ThemeServiceTest.h"

namespace vellora::tests {
namespace {

using CorvaneSDK::Query;
using testing::ElementsAre;
using testing::IsEmpty;
using testkit::FailingCache;
using testkit::StubNetwork;
using CacheState = ThemeDataService::CacheState;

class ThemeDataServiceCacheTest : public ThemeServiceTest {
 protected:
  void fetchList(const std::vector<std::string>& entries) const {
    network->answer(url, StubNetwork::body(response(entries)));
    ASSERT_EQ(load(makeService()), std::nullopt);
  }

  void keepEntries(int count) const {
    for (int index = 1; index <= count; ++index)
      keepEntry(std::string("T").append(std::to_string(index)), entryJson("T"));
  }

  [[nodiscard]] std::size_t entryCount() const {
    return table()->fetch(Query::exact(CorvaneSDK::metaEquals({{"cacheEntryType", "theme"}}))).size();
  }
};

TEST_F(ThemeDataServiceCacheTest, CreatesItsTableOnTheFirstRunAndOpensItLater) {
  static_cast<void>(makeService());
  EXPECT_THAT(cache->callTexts(),
              ElementsAre("openTable OPS_ThemesCacheTable", "createTable OPS_ThemesCacheTable",
                          "tableFetch OPS_ThemesCacheTable cacheEntryType=theme"));

  cache->clearCalls();
  static_cast<void>(makeService());

  EXPECT_THAT(cache->callTexts(), ElementsAre("openTable OPS_ThemesCacheTable",
                                              "tableFetch OPS_ThemesCacheTable cacheEntryType=theme"));
}

TEST_F(ThemeDataServiceCacheTest, AsksNothingWhileItIsMade) {
  const auto service = makeService();

  EXPECT_EQ(cache->calls().size(), 2U);
  EXPECT_EQ(network->count(), 0U);
  EXPECT_THAT(logger->lines(), IsEmpty());
}

TEST_F(ThemeDataServiceCacheTest, IsEmptyWithoutAListWhateverElseThereIs) {
  keepTimeStamp(start);
  keepEntry("Account", entryJson("Account"));
  EXPECT_EQ(makeService()->cacheState(), CacheState::empty);
}

TEST_F(ThemeDataServiceCacheTest, IsExpiredWithAListAndNoTimeStamp) {
  keepList("[]");
  EXPECT_EQ(makeService()->cacheState(), CacheState::expired);
}

TEST_F(ThemeDataServiceCacheTest, IsExpiredWhenTheTimeStampIsFurtherAwayThanTheTimeOut) {
  keepList("[]");
  const auto service = makeService();
  const auto stateAt = [&](double timeStamp) {
    keepTimeStamp(timeStamp);
    return service->cacheState();
  };
  EXPECT_EQ(stateAt(start), CacheState::valid);
  EXPECT_EQ(stateAt(start - 300), CacheState::valid);
  EXPECT_EQ(stateAt(start - 300.5), CacheState::expired);
  EXPECT_EQ(stateAt(start + 300), CacheState::valid);
  EXPECT_EQ(stateAt(start + 300.5), CacheState::expired);
  EXPECT_EQ(stateAt(std::numeric_limits<double>::quiet_NaN()), CacheState::valid);
}

TEST_F(ThemeDataServiceCacheTest, ATimeOutOfZeroMakesAllButThePresentInstantStale) {
  keepList("[]");
  keepTimeStamp(start);
  const auto service = makeService(0);
  EXPECT_EQ(service->cacheState(), CacheState::valid);
  clock.advance(0.001);
  EXPECT_EQ(service->cacheState(), CacheState::expired);
}

TEST_F(ThemeDataServiceCacheTest, AnEmptyTimeStampIsStale) {
  keepList("[]");
  memory->save(Data(), "ops.theme.fetch.timestamp");
  EXPECT_EQ(makeService()->cacheState(), CacheState::expired);
}

TEST_F(ThemeDataServiceCacheTest, ReadsItsStateAfreshEachTime) {
  const auto service = makeService();
  EXPECT_EQ(service->cacheState(), CacheState::empty);
  keepList("[]");
  EXPECT_EQ(service->cacheState(), CacheState::expired);
  keepTimeStamp(start);
  EXPECT_EQ(service->cacheState(), CacheState::valid);
}

TEST_F(ThemeDataServiceCacheTest, KeepsTheListAndTheMomentOfItsFetch) {
  fetchList({entryJson("B"), entryJson("A")});

  EXPECT_EQ(rowData({{"cacheEntryType", "themes"}}), listJson({entryJson("B"), entryJson("A")}));
  EXPECT_EQ(entryCount(), 0U);
  const auto stamp = memory->load("ops.theme.fetch.timestamp");
  ASSERT_TRUE(stamp);
  // 1,700,000,000 as a little-endian double.
  EXPECT_EQ(stamp->view(), std::string_view("\x00\x00\x00\x40\xfc\x54\xd9\x41", 8));
}

TEST_F(ThemeDataServiceCacheTest, WritesTheListRowThenTheLogLineThenTheTimeStamp) {
  network->answer(url, StubNetwork::body(response({})).held());
  const auto service = makeService();
  service->loadThemes(nullptr);
  passQueue(service);
  cache->clearCalls();
  cache->fail(FailingCache::Operation::save, [this](const std::string&) {
    EXPECT_TRUE(logger->contains("save(_:)"));
    return false;
  });

  network->releaseAll();

  EXPECT_THAT(cache->callTexts(), ElementsAre("tableUpsert OPS_ThemesCacheTable cacheEntryType=themes",
                                              "save ops.theme.fetch.timestamp"));
}

TEST_F(ThemeDataServiceCacheTest, ANewListReplacesTheOldOneAndLeavesSingleEntriesAsTheyAre) {
  keepEntry("Account", entryJson("Account", "old"));
  fetchList({entryJson("Account", "new")});
  clock.advance(301);
  fetchList({entryJson("Account", "newer")});

  EXPECT_EQ(rowData({{"cacheEntryType", "themes"}}), listJson({entryJson("Account", "newer")}));
  const auto service = makeService();
  EXPECT_EQ(Answer(service->themes({"Account"})).value(), (Themes{{"Account", entry("Account", "old")}}));
}

TEST_F(ThemeDataServiceCacheTest, KeepsAnEntryUnderItsNameWithoutTouchingTheTimeStamp) {
  keepList(listJson({entryJson("Account")}));
  const auto service = makeService();
  EXPECT_TRUE(Answer(service->themes({"Account"})).value());

  EXPECT_EQ(rowData({{"cacheEntryType", "theme"}, {"name", "Account"}}), entryJson("Account"));
  EXPECT_EQ(memory->load("ops.theme.fetch.timestamp"), std::nullopt);
  EXPECT_THAT(info(),
              ElementsAre("cachedThemes()", "save(_:), theme.name: Account", "themes(for:): name: Account"));
}

TEST_F(ThemeDataServiceCacheTest, GoesOnWhenTheHostStoresNothing) {
  cache->fail(FailingCache::Operation::tableUpsert);
  cache->fail(FailingCache::Operation::save);
  network->answer(url, StubNetwork::body(response({entryJson("Account")})));
  const auto service = makeService();

  EXPECT_EQ(Answer(service->themes({"Account"})).value(), (Themes{{"Account", entry("Account")}}));
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(ThemeDataServiceCacheTest, AnEntryThatCannotBeReadCountsAsAbsentAndStays) {
  keepList(listJson({entryJson("Account", "from the list")}));
  keepEntry("Account", R"({"name":"Account"})");
  cache->fail(FailingCache::Operation::tableUpsert);
  const auto service = makeService();

  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(Answer(service->themes({"Account"})).value(),
              (Themes{{"Account", entry("Account", "from the list")}}));
  }

  const testkit::RecordingLogger::Line found{CorvaneSDK::LogLevel::info,
                                             "cachedTheme(for:), name: Account, was retrieved from cache"};
  const testkit::RecordingLogger::Line failed{
      CorvaneSDK::LogLevel::error, "cachedTheme(for:): Failed to decode: missing key \"icons\" at $"};
  const auto lines = logger->lines();
  EXPECT_EQ(lines.at(0), found);
  EXPECT_EQ(lines.at(1), failed);
  EXPECT_EQ(std::count(lines.begin(), lines.end(), failed), 2);
}

TEST_F(ThemeDataServiceCacheTest, AListThatCannotBeReadIsFetchedThoughTheCacheIsNotEmpty) {
  keepList(R"([{"name":"Account"}])");
  keepTimeStamp(start);
  network->answer(url, StubNetwork::body(response({entryJson("Account", "fetched")})));
  const auto service = makeService();

  EXPECT_EQ(service->cacheState(), CacheState::valid);
  EXPECT_EQ(Answer(service->themes({"Account"})).value(), (Themes{{"Account", entry("Account", "fetched")}}));
  EXPECT_THAT(errors(), ElementsAre("cachedThemes(): Failed to decode: missing key \"icons\" at $[0]"));
  EXPECT_EQ(network->count(url), 1U);
}

TEST_F(ThemeDataServiceCacheTest, TheLastHandleTrimsTheOldestOf101Entries) {
  keepList("[]");
  keepEntries(101);

  static_cast<void>(makeService());

  EXPECT_EQ(entryCount(), 100U);
  EXPECT_EQ(rowData({{"cacheEntryType", "theme"}, {"name", "T1"}}), "none");
  EXPECT_EQ(rowData({{"cacheEntryType", "theme"}, {"name", "T2"}}), entryJson("T"));
  EXPECT_EQ(rowData({{"cacheEntryType", "themes"}}), "[]");
  EXPECT_THAT(info(),
              ElementsAre("enforceCacheCount(), cacheEntryType: theme, rows.count: 101, maxCount: 100",
                          R"(enforceCacheCount(), purging row: ["cacheEntryType": "theme", "name": "T1"])"));
}

TEST_F(ThemeDataServiceCacheTest, TheLastHandleLeaves100EntriesAlone) {
  keepEntries(100);

  static_cast<void>(makeService());

  EXPECT_EQ(entryCount(), 100U);
  EXPECT_THAT(info(),
              ElementsAre("enforceCacheCount(), cacheEntryType: theme, rows.count: 100, maxCount: 100"));
}

TEST_F(ThemeDataServiceCacheTest, TheLastHandlePurgesOldestFirstWithOneCallForEachRow) {
  keepEntries(103);
  auto service = makeService();
  cache->clearCalls();

  service.reset();

  EXPECT_THAT(
      cache->callTexts(),
      ElementsAre("tableFetch OPS_ThemesCacheTable cacheEntryType=theme", "tablePurge OPS_ThemesCacheTable",
                  "tablePurge OPS_ThemesCacheTable", "tablePurge OPS_ThemesCacheTable"));
  EXPECT_EQ(info().at(1), R"(enforceCacheCount(), purging row: ["cacheEntryType": "theme", "name": "T1"])");
  EXPECT_EQ(info().at(3), R"(enforceCacheCount(), purging row: ["cacheEntryType": "theme", "name": "T3"])");
  EXPECT_EQ(entryCount(), 100U);
}

TEST_F(ThemeDataServiceCacheTest, TrimsOnWhateverThreadDropsTheLastHandle) {
  keepEntries(101);
  std::thread([service = makeService()]() mutable { service.reset(); }).join();
  EXPECT_EQ(entryCount(), 100U);
}

}  // namespace
}  // namespace vellora::tests
