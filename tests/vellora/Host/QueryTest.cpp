#include "vellora/Host/Query.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace CorvaneSDK {
namespace {

TEST(QueryTest, AMetaFilterAdmitsRowsThatHoldEveryPair) {
  const auto filter = metaEquals({{"kind", "theme"}, {"name", "Account"}});
  EXPECT_TRUE(filter({{{"kind", "theme"}, {"name", "Account"}, {"more", ""}}, "1"}));
  EXPECT_FALSE(filter({{{"kind", "theme"}, {"name", "Contact"}}, "1"}));
  EXPECT_FALSE(filter({{{"kind", "theme"}}, "1"})) << "a key is missing";
  EXPECT_TRUE(metaEquals({})({{}, "1"})) << "no pairs are held by every row";
}

TEST(QueryTest, ADataKeyFilterAdmitsTheRowOfThatKeyAlone) {
  const auto filter = dataKeyEquals("1");
  EXPECT_TRUE(filter({{}, "1"}));
  EXPECT_FALSE(filter({{}, "2"}));
}

TEST(QueryTest, APredicateDecidesForItself) {
  const RowFilter filter([](const Row& row) { return row.meta.contains("name"); });
  EXPECT_TRUE(filter({{{"name", "Account"}}, "1"}));
  EXPECT_FALSE(filter({{}, "1"}));
}

TEST(QueryTest, OnlyAMetaFilterTellsItsPairs) {
  const Meta pairs{{"kind", "theme"}};
  const auto byMeta = metaEquals(pairs);
  ASSERT_NE(byMeta.metaPairs(), nullptr);
  EXPECT_EQ(*byMeta.metaPairs(), pairs);
  EXPECT_EQ(RowFilter([](const Row&) { return true; }).metaPairs(), nullptr);
}

TEST(QueryTest, AnExactQueryHasNoPositions) {
  EXPECT_EQ(Query::exact(metaEquals({})).oldestRange(), std::nullopt);
  const auto oldest = Query::oldest({2, 5});
  EXPECT_EQ(oldest.oldestRange(), (PositionRange{2, 5}));
  EXPECT_FALSE(oldest.oldestRange() == (PositionRange{2, 6}));
  EXPECT_FALSE(oldest.filter().has_value());
}

TEST(QueryTest, TheDefaultRangeIsEveryPosition) {
  constexpr std::int64_t last = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(Query::oldest({}).oldestRange(), (PositionRange{0, last}));
}

}  // namespace
}  // namespace CorvaneSDK
