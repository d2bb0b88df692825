#include "apps/vellora/cache/CacheListing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "vellora/DataServices/FetchTime.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::command {
namespace {

using hostkit::SQLiteCacheContents;
using testing::ElementsAre;

constexpr double hour = 3600;

/// A cache whose lists were fetched an hour before `present`, which is now.
class CacheListingTest : public testing::Test {
 protected:
  CacheListingTest() { table.key = "Table"; }

  void addBlob(const std::string& key, const Data& data) { contents.blobs.push_back({key, data}); }

  void addRow(CorvaneSDK::Meta meta) {
    SQLiteCacheContents::Row row;
    row.row = {std::move(meta), "key"};
    row.written = Date::since1970(present.secondsSince1970() - 2 * hour);
    row.data = Data("1");
    table.rows.push_back(row);
  }

  [[nodiscard]] std::vector<CacheListing> listings(double cacheTimeout = 2 * hour) {
    contents.tables = {table};
    return listingsOf(contents, present, cacheTimeout);
  }

  [[nodiscard]] std::vector<std::string> states(double cacheTimeout = 2 * hour) {
    std::vector<std::string> names;
    for (const auto& listing : listings(cacheTimeout)) names.push_back(nameOf(listing.state));
    return names;
  }

  [[nodiscard]] Data stamp(double age) const { return fetchTimeStamp(present.secondsSince1970() - age); }

  [[nodiscard]] Data layout(double age) const {
    const auto seconds = present.secondsSinceReferenceDate() - age;
    return Data(R"({"objectLayoutInfo":{"objectType":"Account","searchColumns":[]},"downloadedTime":)" +
                std::to_string(seconds) + "}");
  }

  const Date present = now();
  SQLiteCacheContents contents;
  SQLiteCacheContents::Table table;
};

TEST_F(CacheListingTest, ARowOfAListIsAsOldAsTheFetchOfTheList) {
  addBlob("ops.theme.fetch.timestamp", stamp(hour));
  addRow({{"cacheEntryType", "themes"}});
  const auto row = listings().back();
  EXPECT_EQ(row.entry, "Table/cacheEntryType=themes");
  EXPECT_NEAR(row.ageSeconds.value(), hour, 1e-3);
  EXPECT_THAT(states(), ElementsAre("fresh", "fresh"));
  EXPECT_THAT(states(hour / 2), ElementsAre("expired", "expired"));
}

TEST_F(CacheListingTest, ARowOfAListThatNobodyDatedIsExpiredAndAsOldAsItsWriting) {
  addRow({{"cacheEntryType", "themes"}});
  EXPECT_NEAR(listings().back().ageSeconds.value(), 2 * hour, 1e-3);
  EXPECT_THAT(states(), ElementsAre("expired"));
}

TEST_F(CacheListingTest, ARowOfASingleItemIsKeptHoweverOldItIs) {
  addRow({{"cacheEntryType", "theme"}, {"name", "Account"}});
  EXPECT_NEAR(listings().back().ageSeconds.value(), 2 * hour, 1e-3);
  EXPECT_THAT(states(0), ElementsAre("kept"));
}

TEST_F(CacheListingTest, ALayoutIsJudgedAsLookupsJudgeIt) {
  addBlob("OPS_Layout_Account", layout(hour));
  addBlob("OPS_Layout_Case", layout(3 * hour));
  addBlob("OPS_Layout_Contact", layout(-3 * hour));
  addBlob("settings", Data("1"));
  EXPECT_THAT(states(), ElementsAre("fresh", "expired", "fresh", "kept"));
}

TEST_F(CacheListingTest, WhatIsDamagedOrOutdatedIsNothingElse) {
  contents.blobs.push_back({"OPS_Layout_Account", std::nullopt});
  addBlob("ops.theme.fetch.timestamp", stamp(hour));
  addRow({{"cacheEntryType", "themes"}});
  addRow({{"cacheEntryType", "theme"}});
  table.rows.front().outdated = true;
  table.rows.back().data.reset();
  EXPECT_THAT(states(), ElementsAre("damaged", "fresh", "outdated", "damaged"));
}

}  // namespace
}  // namespace vellora::command
