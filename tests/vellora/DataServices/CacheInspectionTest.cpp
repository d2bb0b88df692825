#include "vellora/DataServices/CacheInspection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/FailingCache.h"
#include "testkit/RecordingLogger.h"
#include "tests/support/TestClock.h"
#include "vellora/DataServices/FetchTime.h"
#include "vellora/DataServices/SObjectsCache.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Host/Table.h"
#include "vellora/Models/ThemeItem.h"

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tests::TestClock;

constexpr double timeout = 300;
constexpr double present = 1'700'000'000;

CacheFreshness fetchedAt(double secondsSince1970, bool fresh) {
  return {Date::since1970(secondsSince1970), fresh};
}

/// What `SObjectsCache` writes, looked at from outside.
class CacheInspectionTest : public testing::Test {
 protected:
  [[nodiscard]] SObjectsCache sObjectsCache() const { return {cache, logger, timeout}; }

  void saveStamp(std::string_view key, double secondsSince1970) const {
    cache->save(fetchTimeStamp(secondsSince1970), std::string(key));
  }

  const TestClock clock{Date::since1970(present)};
  const std::shared_ptr<hostkit::MemoryCache> cache = std::make_shared<hostkit::MemoryCache>();
  const std::shared_ptr<testkit::RecordingLogger> logger = std::make_shared<testkit::RecordingLogger>();
  const SObject account{"Account", "001", "Account", "Accounts", true};
  const SObject note{"Note", std::nullopt, "Note", "Notes", false};
};

TEST_F(CacheInspectionTest, AnEmptyCacheHoldsNothingAndStaysEmpty) {
  EXPECT_EQ(sObjectsFreshness(*cache, timeout), CacheFreshness());
  EXPECT_EQ(themesFreshness(*cache, timeout), CacheFreshness());
  EXPECT_THAT(cachedSObjects(*cache), IsEmpty());
  EXPECT_EQ(cache->openTable("OPS_SObjectsCacheTable"), nullptr);
}

TEST_F(CacheInspectionTest, TellsTheObjectTypesAsTheServiceSavedThem) {
  sObjectsCache().save(std::vector{account, note});
  EXPECT_THAT(cachedSObjects(*cache), ElementsAre(account, note));
  EXPECT_EQ(sObjectsFreshness(*cache, timeout), fetchedAt(present, true));
  EXPECT_EQ(themesFreshness(*cache, timeout), CacheFreshness()) << "that is another list";
}

TEST_F(CacheInspectionTest, TellsTheThemesAsTheServiceSavedThem) {
  EXPECT_THAT(cachedThemes(*cache), IsEmpty());
  const auto table = CorvaneSDK::CacheTable::create(
      *cache, CorvaneSDK::Table::emptyWithKey("OPS_ThemesCacheTable", CorvaneSDK::Table::MaxAge::sevenDays));
  const std::string entry = R"({"name":"Account","colors":null,"icons":[]})";
  table->upsert({Data(entry), {{"cacheEntryType", "theme"}, {"name", "Account"}}, std::nullopt});
  EXPECT_THAT(cachedThemes(*cache), IsEmpty()) << "a single entry is no list";
  table->upsert({Data("[" + entry + "]"), {{"cacheEntryType", "themes"}}, std::nullopt});
  EXPECT_THAT(cachedThemes(*cache), ElementsAre(ThemeItem{"Account", std::nullopt, {}}));
  table->upsert({Data("[{}]"), {{"cacheEntryType", "themes"}}, std::nullopt});
  EXPECT_THAT(cachedThemes(*cache), IsEmpty()) << "one that cannot be read";
}

TEST_F(CacheInspectionTest, DoesNotTakeSingleItemsForTheList) {
  sObjectsCache().save(account);
  EXPECT_THAT(cachedSObjects(*cache), IsEmpty());
}

TEST_F(CacheInspectionTest, TakesAListThatCannotBeReadForNone) {
  static_cast<void>(sObjectsCache());  // which creates the table
  const auto table = cache->openTable("OPS_SObjectsCacheTable");
  table->upsert({Data("[{}]"), {{"cacheEntryType", "sObjects"}}, std::nullopt});
  EXPECT_THAT(cachedSObjects(*cache), IsEmpty());
}

TEST_F(CacheInspectionTest, ReadsWhatItTellsAndNothingElse) {
  sObjectsCache().save(std::vector{account});
  testkit::FailingCache watched(cache);
  EXPECT_THAT(cachedSObjects(watched), ElementsAre(account));
  EXPECT_EQ(sObjectsFreshness(watched, timeout), fetchedAt(present, true));
  EXPECT_EQ(themesFreshness(watched, timeout), CacheFreshness());
  EXPECT_THAT(watched.callTexts(),
              ElementsAre("openTable OPS_SObjectsCacheTable",
                          "tableLoad OPS_SObjectsCacheTable cacheEntryType=sObjects",
                          "load ops.sobject.fetch.timestamp", "load ops.theme.fetch.timestamp"));
}

TEST_F(CacheInspectionTest, AListIsFreshUpToTheTimeOutInBothDirections) {
  for (const double age : {0.0, timeout, -timeout}) {
    saveStamp(themesFetchTimeKey, present - age);
    EXPECT_EQ(themesFreshness(*cache, timeout), fetchedAt(present - age, true)) << age;
  }
  for (const double age : {timeout + 1, -timeout - 1}) {
    saveStamp(themesFetchTimeKey, present - age);
    EXPECT_EQ(themesFreshness(*cache, timeout), fetchedAt(present - age, false)) << age;
  }
}

TEST_F(CacheInspectionTest, AMomentThatCannotBeReadIsNone) {
  cache->save(Data("short"), std::string(sObjectsFetchTimeKey));
  EXPECT_EQ(sObjectsFreshness(*cache, timeout), CacheFreshness());
}

TEST_F(CacheInspectionTest, AgreesWithTheServiceOnEveryMoment) {
  sObjectsCache().save(std::vector{account});
  for (const double seconds : {present, present - timeout, present - timeout - 1, present + timeout + 1, 0.0,
                               std::numeric_limits<double>::quiet_NaN()}) {
    saveStamp(sObjectsFetchTimeKey, seconds);
    const bool isValid = sObjectsCache().cacheState() == CacheState::valid;
    EXPECT_EQ(sObjectsFreshness(*cache, timeout).fresh, isValid) << seconds;
  }
}

/// The cache entry of a search layout that was downloaded then.
Data layoutOf(double secondsSince1970) {
  const auto seconds = Date::since1970(secondsSince1970).secondsSinceReferenceDate();
  return Data(R"({"objectLayoutInfo":{"objectType":"Account","searchColumns":[]},"downloadedTime":)" +
              std::to_string(seconds) + "}");
}

TEST_F(CacheInspectionTest, ALayoutIsFreshUpToTheTimeOutAndInTheFuture) {
  const auto freshness = [](double age) {
    return blobFreshness("OPS_Layout_Account", layoutOf(present - age), timeout);
  };
  EXPECT_EQ(freshness(timeout), fetchedAt(present - timeout, true));
  EXPECT_EQ(freshness(timeout + 1), fetchedAt(present - timeout - 1, false));
  EXPECT_EQ(freshness(-timeout - 1), fetchedAt(present + timeout + 1, true)) << "as lookups take it";
}

TEST_F(CacheInspectionTest, ABlobThatNoServiceReadsHasNoFreshness) {
  EXPECT_EQ(blobFreshness("settings", fetchTimeStamp(present), timeout), std::nullopt);
  EXPECT_EQ(blobFreshness("OPS_Layout_Account", Data("{}"), timeout), std::nullopt);
}

TEST_F(CacheInspectionTest, ARowOfAListIsAsFreshAsItsTimeStamp) {
  const auto loadBlob = [](std::string_view key) {
    EXPECT_EQ(key, themesFetchTimeKey);
    return std::optional(fetchTimeStamp(present - timeout - 1));
  };
  EXPECT_EQ(rowFreshness({{"cacheEntryType", "themes"}}, loadBlob, timeout),
            fetchedAt(present - timeout - 1, false));
}

TEST_F(CacheInspectionTest, ARowOfAListWithoutATimeStampIsNotFresh) {
  const auto noBlob = [](std::string_view) { return std::optional<Data>(); };
  for (const auto* kind : {"sObjects", "keyPrefixes", "themes"})
    EXPECT_EQ(rowFreshness({{"cacheEntryType", kind}}, noBlob, timeout), CacheFreshness()) << kind;
}

TEST_F(CacheInspectionTest, ARowOfASingleItemHasNoFreshness) {
  const auto unasked = [](std::string_view key) {
    ADD_FAILURE() << key;
    return std::optional<Data>();
  };
  EXPECT_EQ(rowFreshness({{"cacheEntryType", "sObject"}, {"name", "Account"}}, unasked, timeout),
            std::nullopt);
  EXPECT_EQ(rowFreshness({}, unasked, timeout), std::nullopt);
}

}  // namespace
}  // namespace vellora
