#include "hostkit/cache/rows/StoredRow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace vellora::hostkit {
namespace {

using CorvaneSDK::metaEquals;
using CorvaneSDK::PositionRange;
using CorvaneSDK::Query;
using CorvaneSDK::Row;
using testing::ElementsAre;

StoredRows threeRows() {
  StoredRows rows;
  for (const std::string key : {"a", "b", "c"}) {
    StoredRow stored;
    stored.row = {{{"name", key}}, key};
    rows.push_back(std::make_shared<const StoredRow>(stored));
  }
  return rows;
}

std::vector<std::string> keys(const StoredRows& rows) {
  std::vector<std::string> all;
  for (const auto& stored : rows) all.push_back(stored->row.dataKey);
  return all;
}

TEST(StoredRowTest, AnExactQueryYieldsTheNewestFirst) {
  const auto notB = [](const Row& row) { return row.dataKey != "b"; };
  EXPECT_THAT(keys(selectedRows(threeRows(), Query::exact(notB))), ElementsAre("c", "a"));
}

TEST(StoredRowTest, AnOldestQuerySlicesWhatItsFilterLeaves) {
  const auto notA = [](const Row& row) { return row.dataKey != "a"; };
  EXPECT_THAT(keys(selectedRows(threeRows(), Query::oldest({1, 2}, notA))), ElementsAre("c"));
  EXPECT_THAT(keys(selectedRows(threeRows(), Query::oldest({-1, 2}))), ElementsAre("a", "b"));
}

TEST(StoredRowTest, APositionHas64BitsOnEveryMachine) {
  constexpr std::int64_t past32Bits = std::int64_t{1} << 32U;
  constexpr auto first = std::numeric_limits<std::int64_t>::min();
  EXPECT_THAT(keys(selectedRows(threeRows(), Query::oldest({past32Bits, past32Bits + 2}))), ElementsAre());
  EXPECT_THAT(keys(selectedRows(threeRows(), Query::oldest({1, past32Bits}))), ElementsAre("b", "c"));
  EXPECT_THAT(keys(selectedRows(threeRows(), Query::oldest({first, 3}))), ElementsAre("a", "b", "c"));
}

TEST(StoredRowTest, KnowsTheRangesThatHoldNoPosition) {
  EXPECT_TRUE(selectsNothing(Query::oldest({2, 2})));
  EXPECT_TRUE(selectsNothing(Query::oldest({2, 1})));
  EXPECT_TRUE(selectsNothing(Query::oldest({-2, 0})));
  EXPECT_FALSE(selectsNothing(Query::oldest({-2, 1})));
  EXPECT_FALSE(selectsNothing(Query::oldest({0, 1})));
  EXPECT_FALSE(selectsNothing(Query::exact(metaEquals({}))));
}

TEST(StoredRowTest, OnlyPairsThatNarrowTheSearchAreForAnIndex) {
  EXPECT_EQ(indexablePairs([](const Row&) { return true; }), nullptr);
  EXPECT_EQ(indexablePairs(metaEquals({})), nullptr);
  const auto filter = metaEquals({{"name", "a"}});
  ASSERT_NE(indexablePairs(filter), nullptr);
  EXPECT_EQ(*indexablePairs(filter), CorvaneSDK::Meta({{"name", "a"}}));
}

TEST(StoredRowTest, MetaHoldsPairsWhenItHasEachOfThem) {
  EXPECT_TRUE(holdsPairs({{"a", "1"}, {"b", "2"}, {"c", "3"}}, {{"a", "1"}, {"c", "3"}}));
  EXPECT_FALSE(holdsPairs({{"a", "1"}, {"b", "2"}}, {{"a", "2"}}));
  EXPECT_FALSE(holdsPairs({{"a", "1"}}, {{"a", "1"}, {"b", "2"}}));
  EXPECT_TRUE(holdsPairs({}, {}));
}

}  // namespace
}  // namespace vellora::hostkit
