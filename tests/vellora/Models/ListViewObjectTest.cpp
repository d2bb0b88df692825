#include "vellora/Models/ListViewObject.h"

#include <gtest/gtest.h>

#include "tests/support/DecodingFailure.h"

namespace vellora {
namespace {

TEST(ListViewObjectTest, ReadsItsUpperCaseKeysAndNoOther) {
  const auto decoded = json::decode<ListViewObject>(
      Data(R"({"about":{"type":"ListView"},"Id":"00B1","id":"x","SobjectType":"Account"})"));
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value(), (ListViewObject{"00B1", "Account"}));
}

TEST(ListViewObjectTest, MayLackItsObjectType) {
  const auto missing = json::decode<ListViewObject>(Data(R"({"Id":"x"})"));
  const auto null = json::decode<ListViewObject>(Data(R"({"Id":"x","SobjectType":null})"));
  ASSERT_TRUE(missing && null);
  EXPECT_EQ(missing.value(), (ListViewObject{"x", std::nullopt}));
  EXPECT_EQ(null.value(), (ListViewObject{"x", std::nullopt}));
}

TEST(ListViewObjectTest, NeedsItsIdUnderAKeyOfThatLetterCase) {
  EXPECT_EQ(tests::failureOf<ListViewObject>(R"({"id":"x","SobjectType":"Account"})"),
            "missing key \"Id\" at $");
  EXPECT_EQ(tests::failureOf<ListViewObject>(R"({"Id":1})"), "expected a string at $.Id");
  EXPECT_EQ(tests::failureOf<ListViewObject>(R"({"Id":"x","SobjectType":1})"),
            "expected a string at $.SobjectType");
}

TEST(ListViewObjectTest, WritesItsKeysInTheirOrderAndLeavesAbsentOnesOut) {
  const auto whole = json::encode(ListViewObject{"00B1", "Account"});
  const auto without = json::encode(ListViewObject{"00B1", std::nullopt});
  ASSERT_TRUE(whole && without);
  EXPECT_EQ(whole.value().view(), R"({"Id":"00B1","SobjectType":"Account"})");
  EXPECT_EQ(without.value().view(), R"({"Id":"00B1"})");
}

TEST(ListViewObjectTest, NamesItsJsonKeys) {
  EXPECT_EQ(ListViewObject::CodingKeys::id, "Id");
  EXPECT_EQ(ListViewObject::CodingKeys::objectType, "SobjectType");
}

}  // namespace
}  // namespace vellora
