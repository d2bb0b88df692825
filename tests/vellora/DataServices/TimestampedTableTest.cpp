#include "vellora/DataServices/TimestampedTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/FailingCache.h"
#include "testkit/ForwardingCacheTable.h"
#include "testkit/RecordingLogger.h"
#include "tests/support/TestClock.h"

namespace vellora {

namespace {

using CorvaneSDK::LogLevel;
using CorvaneSDK::Meta;
using testing::ElementsAre;
using testing::IsEmpty;
using testkit::FailingCache;
using testkit::RecordingLogger;
using tests::TestClock;

constexpr double timeout = 300;
const TimestampedTable::Names names{"Table", "time.stamp", "list"};

/// The bytes of a time stamp of so many seconds since 1970.
Data stampOf(double seconds) {
  std::string bytes(8, '\0');
  for (std::size_t index = 0; index < 8; ++index) {
    bytes[index] = static_cast<char>(std::bit_cast<std::uint64_t>(seconds) >> (8 * index));
  }
  return Data(bytes);
}

Meta item(const std::string& name) {
  return {{"cacheEntryType", "item"}, {"name", name}};
}

class TimestampedTableTest : public testing::Test {
 protected:
  TimestampedTable make(double cacheTimeout = timeout) const { return {cache, logger, cacheTimeout, names}; }

  [[nodiscard]] std::string stateWith(const Data& timeStamp, double cacheTimeout = timeout) const {
    const auto table = make(cacheTimeout);
    table.write(std::string("the list"), TimestampedTable::kindMeta("list"), "save(_:)");
    cache->save(timeStamp, "time.stamp");
    return describe(table.cacheState());
  }

  void addItems(int count) const {
    const auto table = make();
    for (int index = 0; index < count; ++index) {
      table.write(std::string("value"), item(std::to_string(index)), "save");
    }
    logger->clear();
  }

  TestClock clock{Date::since1970(1'700'000'000)};
  std::shared_ptr<FailingCache> cache =
      std::make_shared<FailingCache>(std::make_shared<hostkit::MemoryCache>());
  std::shared_ptr<RecordingLogger> logger = std::make_shared<RecordingLogger>();
};

TEST_F(TimestampedTableTest, CreatesItsTableOnceAndOpensItLater) {
  make();
  EXPECT_THAT(cache->callTexts(), ElementsAre("openTable Table", "createTable Table"));

  cache->clearCalls();
  make();

  EXPECT_THAT(cache->callTexts(), ElementsAre("openTable Table"));
}

TEST_F(TimestampedTableTest, LogsNothingWhileItIsMade) {
  make();

  EXPECT_THAT(logger->lines(), IsEmpty());
}

class NoTablesCache final : public testkit::ForwardingCache {
 public:
  using ForwardingCache::ForwardingCache;
  std::shared_ptr<CorvaneSDK::CacheTable> openTable(const std::string&) override { return nullptr; }
  std::shared_ptr<CorvaneSDK::CacheTable> createTable(const CorvaneSDK::Table&) override { return nullptr; }
};

TEST_F(TimestampedTableTest, StaysEmptyWhenTheHostCreatesNoTable) {
  const TimestampedTable table(std::make_shared<NoTablesCache>(cache), logger, timeout, names);

  EXPECT_TRUE(table.write(std::string("value"), TimestampedTable::kindMeta("list"), "save(_:)"));
  table.saveFetchTimeStamp();
  table.enforceCacheCount("item");

  EXPECT_EQ(table.cacheState(), CacheState::empty);
  EXPECT_EQ(table.read<std::string>(TimestampedTable::kindMeta("list"), "cached()"), std::nullopt);
}

TEST_F(TimestampedTableTest, IsEmptyWithoutAListWhateverTheTimeStampSays) {
  const auto table = make();
  table.write(std::string("value"), item("one"), "save(_:)");
  table.saveFetchTimeStamp();

  EXPECT_EQ(table.cacheState(), CacheState::empty);
}

TEST_F(TimestampedTableTest, IsExpiredWithoutATimeStamp) {
  const auto table = make();
  table.write(std::string("the list"), TimestampedTable::kindMeta("list"), "save(_:)");

  EXPECT_EQ(table.cacheState(), CacheState::expired);
}

TEST_F(TimestampedTableTest, IsValidUpToTheTimeoutAndExpiredBeyondIt) {
  EXPECT_EQ(stateWith(stampOf(1'700'000'000)), "valid");
  EXPECT_EQ(stateWith(stampOf(1'700'000'000 - 300)), "valid");
  EXPECT_EQ(stateWith(stampOf(1'700'000'000 - 300.001)), "expired");
}

TEST_F(TimestampedTableTest, DistrustsATimeStampInTheFutureAsMuchAsAnOldOne) {
  EXPECT_EQ(stateWith(stampOf(1'700'000'000 + 300)), "valid");
  EXPECT_EQ(stateWith(stampOf(1'700'000'000 + 300.001)), "expired");
}

TEST_F(TimestampedTableTest, WithATimeoutOfZeroOnlyThePresentInstantIsValid) {
  EXPECT_EQ(stateWith(stampOf(1'700'000'000), 0), "valid");
  EXPECT_EQ(stateWith(stampOf(1'700'000'000 - 0.001), 0), "expired");
  EXPECT_EQ(stateWith(stampOf(1'700'000'000 + 0.001), 0), "expired");
}

TEST_F(TimestampedTableTest, ReadsAnEmptyTimeStampAsTheBeginningOf1970) {
  EXPECT_EQ(stateWith(Data()), "expired");
  EXPECT_EQ(stateWith(Data(), 1'700'000'000), "valid");
}

TEST_F(TimestampedTableTest, CountsATruncatedTimeStampAsStale) {
  const std::string whole(stampOf(1'700'000'000).view());
  for (std::size_t length = 1; length < 8; ++length) {
    EXPECT_EQ(stateWith(Data(whole.substr(0, length)), std::numeric_limits<double>::infinity()), "expired")
        << length;
  }
}

TEST_F(TimestampedTableTest, LooksAtTheFirstEightBytesOfALongerTimeStamp) {
  EXPECT_EQ(stateWith(Data(std::string(stampOf(1'700'000'000).view()) + "more")), "valid");
}

TEST_F(TimestampedTableTest, NeverCountsATimeStampThatIsNoNumberAsStale) {
  EXPECT_EQ(stateWith(stampOf(std::numeric_limits<double>::quiet_NaN()), 0), "valid");
}

TEST_F(TimestampedTableTest, CountsAnInfiniteTimeStampAsStale) {
  EXPECT_EQ(stateWith(stampOf(std::numeric_limits<double>::infinity())), "expired");
}

TEST_F(TimestampedTableTest, SavesTheTimeStampAsEightLittleEndianBytes) {
  clock.set(Date::since1970(1.5));

  make().saveFetchTimeStamp();

  EXPECT_EQ(cache->load("time.stamp"), Data(std::string("\x00\x00\x00\x00\x00\x00\xF8\x3F", 8)));
}

TEST_F(TimestampedTableTest, ReadsTheStateAfreshEachTime) {
  const auto table = make();
  table.write(std::string("the list"), TimestampedTable::kindMeta("list"), "save(_:)");
  table.saveFetchTimeStamp();
  EXPECT_EQ(table.cacheState(), CacheState::valid);

  clock.advance(301);

  EXPECT_EQ(table.cacheState(), CacheState::expired);
}

TEST_F(TimestampedTableTest, ReadsWhatItWrote) {
  const auto table = make();
  table.write(std::string("value"), item("one"), "save(_:)", {", name: one"});

  EXPECT_EQ(table.read<std::string>(item("one"), "cached(for:)", {", name: one"}), "value");
  EXPECT_THAT(logger->lines(), ElementsAre(RecordingLogger::Line{LogLevel::info, "save(_:), name: one"},
                                           RecordingLogger::Line{LogLevel::info, "cached(for:), name: one"}));
}

TEST_F(TimestampedTableTest, LogsNothingOfARowThatIsNotThere) {
  const auto table = make();
  table.write(std::string("value"), item("one"), "save(_:)");
  logger->clear();

  EXPECT_EQ(table.read<std::string>(item("other"), "cached(for:)"), std::nullopt);
  EXPECT_THAT(logger->lines(), IsEmpty());
}

TEST_F(TimestampedTableTest, LogsThatItFoundARowAlsoBeforeItFailsToDecodeIt) {
  const auto table = make();
  table.write(std::map<std::string, std::string>{}, item("one"), "save(_:)");
  logger->clear();

  EXPECT_EQ(table.read<std::string>(item("one"), "cached(for:)", {", name: one"}), std::nullopt);
  EXPECT_THAT(logger->lines(),
              ElementsAre(RecordingLogger::Line{LogLevel::info, "cached(for:), name: one"},
                          RecordingLogger::Line{LogLevel::error,
                                                "cached(for:): Failed to decode: expected a string at $"}));
}

TEST_F(TimestampedTableTest, KeepsARowThatItCannotDecode) {
  const auto table = make();
  table.write(std::map<std::string, std::string>{{"k", "v"}}, item("one"), "save(_:)");

  static_cast<void>(table.read<std::string>(item("one"), "cached(for:)"));

  EXPECT_EQ((table.read<std::map<std::string, std::string>>(item("one"), "cached(for:)")),
            (std::map<std::string, std::string>{{"k", "v"}}));
}

TEST_F(TimestampedTableTest, WritesNoRowOfWhatHasNoJsonForm) {
  const auto table = make();
  cache->clearCalls();

  EXPECT_FALSE(table.write(std::string("\xFF"), item("one"), "save(_:)", {", name: one"}));

  EXPECT_THAT(cache->calls(), IsEmpty());
  EXPECT_THAT(logger->texts(LogLevel::info), IsEmpty());
  EXPECT_THAT(logger->texts(LogLevel::error),
              ElementsAre(testing::StartsWith("save(_:): Failed to encode: ")));
}

TEST_F(TimestampedTableTest, TakesARefusedWriteForDone) {
  cache->fail(FailingCache::Operation::tableUpsert);
  cache->fail(FailingCache::Operation::save);
  const auto table = make();

  EXPECT_TRUE(table.write(std::string("value"), item("one"), "save(_:)"));
  table.saveFetchTimeStamp();

  EXPECT_THAT(logger->lines(), ElementsAre(RecordingLogger::Line{LogLevel::info, "save(_:)"}));
}

TEST_F(TimestampedTableTest, PurgesNothingUpToAHundredRows) {
  addItems(100);
  cache->clearCalls();

  make().enforceCacheCount("item");

  EXPECT_THAT(logger->texts(LogLevel::info),
              ElementsAre("enforceCacheCount(), cacheEntryType: item, rows.count: 100, maxCount: 100"));
  EXPECT_THAT(cache->callTexts(), ElementsAre("openTable Table", "tableFetch Table cacheEntryType=item"));
}

TEST_F(TimestampedTableTest, PurgesTheOldestBeyondAHundredOneByOne) {
  addItems(102);

  make().enforceCacheCount("item");

  EXPECT_THAT(logger->texts(LogLevel::info),
              ElementsAre("enforceCacheCount(), cacheEntryType: item, rows.count: 102, maxCount: 100",
                          R"(enforceCacheCount(), purging row: ["cacheEntryType": "item", "name": "0"])",
                          R"(enforceCacheCount(), purging row: ["cacheEntryType": "item", "name": "1"])"));
  EXPECT_EQ(make().read<std::string>(item("1"), "cached(for:)"), std::nullopt);
  EXPECT_EQ(make().read<std::string>(item("2"), "cached(for:)"), "value");
}

TEST_F(TimestampedTableTest, PurgesNoOtherKind) {
  addItems(101);
  make().write(std::string("value"), {{"cacheEntryType", "other"}, {"name", "0"}}, "save");

  make().enforceCacheCount("item");

  EXPECT_EQ(make().read<std::string>({{"cacheEntryType", "other"}, {"name", "0"}}, "cached"), "value");
}

/// Replaces no row by a later one of equal meta, and keeps what it was asked.
class PilingTable final : public testkit::ForwardingCacheTable {
 public:
  using ForwardingCacheTable::ForwardingCacheTable;
  std::vector<CorvaneSDK::Row> fetch(const CorvaneSDK::Query& query) override {
    ranges.push_back(query.oldestRange());
    return ForwardingCacheTable::fetch(query);
  }
  bool upsert(const CorvaneSDK::CacheEntry& entry) override {
    givenKeys.push_back(entry.dataKey);
    return ForwardingCacheTable::upsert({entry.data, entry.meta, std::to_string(givenKeys.size())});
  }

  std::vector<std::optional<CorvaneSDK::PositionRange>> ranges;
  std::vector<std::optional<std::string>> givenKeys;
};

class PilingCache final : public testkit::ForwardingCache {
 public:
  using ForwardingCache::ForwardingCache;
  std::shared_ptr<PilingTable> table;

 protected:
  std::shared_ptr<CorvaneSDK::CacheTable> wrapTable(std::shared_ptr<CorvaneSDK::CacheTable> next,
                                                    const std::string&) override {
    return table = std::make_shared<PilingTable>(std::move(next));
  }
};

class TimestampedTableOfPiledRowsTest : public TimestampedTableTest {
 protected:
  void write(int count) const {
    for (int index = 0; index < count; ++index) {
      table.write(std::to_string(index), item("one"), "save(_:)");
    }
    logger->clear();
  }

  std::shared_ptr<PilingCache> pilingCache = std::make_shared<PilingCache>(cache);
  const TimestampedTable table{pilingCache, logger, timeout, names};
};

TEST_F(TimestampedTableOfPiledRowsTest, LeavesTheDataKeyToTheHost) {
  write(1);

  EXPECT_THAT(pilingCache->table->givenKeys, ElementsAre(std::nullopt));
}

TEST_F(TimestampedTableOfPiledRowsTest, TakesTheFirstOfTheRowsThatTheHostYields) {
  write(3);

  EXPECT_EQ(table.read<std::string>(item("one"), "cached(for:)"), "2");
}

TEST_F(TimestampedTableOfPiledRowsTest, AsksForTheRowsOfAllPositionsOldestFirst) {
  table.enforceCacheCount("item");

  EXPECT_THAT(pilingCache->table->ranges,
              ElementsAre(CorvaneSDK::PositionRange{0, std::numeric_limits<std::int64_t>::max()}));
}

TEST_F(TimestampedTableOfPiledRowsTest, PurgesOneRowAndNotThoseOfEqualMeta) {
  write(101);

  table.enforceCacheCount("item");

  EXPECT_THAT(logger->texts(LogLevel::info),
              ElementsAre("enforceCacheCount(), cacheEntryType: item, rows.count: 101, maxCount: 100",
                          R"(enforceCacheCount(), purging row: ["cacheEntryType": "item", "name": "one"])"));
  const auto rows = pilingCache->table->fetch(CorvaneSDK::Query::oldest({}));
  ASSERT_EQ(rows.size(), 100U);
  EXPECT_EQ(rows.front().dataKey, "2");
}

TEST_F(TimestampedTableTest, CountsTheRowsOfAnEmptyTable) {
  make().enforceCacheCount("item");

  EXPECT_THAT(logger->texts(LogLevel::info),
              ElementsAre("enforceCacheCount(), cacheEntryType: item, rows.count: 0, maxCount: 100"));
}

}  // namespace

}  // namespace vellora
