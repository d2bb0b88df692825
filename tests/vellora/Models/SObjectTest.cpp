#include "vellora/Models/SObject.h"

#include <gtest/gtest.h>

#include "tests/support/DecodingFailure.h"

namespace vellora {
namespace {

constexpr const char* accountText =
    R"({"name":"Account","keyPrefix":"001","label":"Account","labelPlural":"Accounts","createable":true})";

TEST(SObjectTest, ReadsItsFiveKeysAndNoOther) {
  const auto decoded = json::decode<SObject>(
      Data(R"({"custom":false,"labelPlural":"Accounts","label":"An account","createable":true,)"
           R"("keyPrefix":"001","name":"Account","urls":{"name":"x"}})"));
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value(), (SObject{"Account", "001", "An account", "Accounts", true}));
}

TEST(SObjectTest, MayHaveNoKeyPrefix) {
  const SObject expected{"A", std::nullopt, "a", "as", false};
  const auto missing =
      json::decode<SObject>(Data(R"({"name":"A","label":"a","labelPlural":"as","createable":false})"));
  const auto null = json::decode<SObject>(
      Data(R"({"name":"A","keyPrefix":null,"label":"a","labelPlural":"as","createable":false})"));
  ASSERT_TRUE(missing && null);
  EXPECT_EQ(missing.value(), expected);
  EXPECT_EQ(null.value(), expected);
}

TEST(SObjectTest, NeedsEveryOtherKey) {
  EXPECT_EQ(tests::failureOf<SObject>(R"({"label":"a","labelPlural":"as","createable":true})"),
            "missing key \"name\" at $");
  EXPECT_EQ(tests::failureOf<SObject>(R"({"name":"A","labelPlural":"as","createable":true})"),
            "missing key \"label\" at $");
  EXPECT_EQ(tests::failureOf<SObject>(R"({"name":"A","label":"a","createable":true})"),
            "missing key \"labelPlural\" at $");
  EXPECT_EQ(tests::failureOf<SObject>(R"({"name":"A","label":"a","labelPlural":"as"})"),
            "missing key \"createable\" at $");
  EXPECT_EQ(tests::failureOf<SObject>(R"({"name":"A","label":"a","labelPlural":"as","creatable":true})"),
            "missing key \"createable\" at $");
}

TEST(SObjectTest, ConvertsNoTypes) {
  EXPECT_EQ(tests::failureOf<SObject>(R"({"name":1,"label":"a","labelPlural":"as","createable":true})"),
            "expected a string at $.name");
  EXPECT_EQ(tests::failureOf<SObject>(
                R"({"name":"A","keyPrefix":1,"label":"a","labelPlural":"as","createable":true})"),
            "expected a string at $.keyPrefix");
  EXPECT_EQ(tests::failureOf<SObject>(R"({"name":"A","label":"a","labelPlural":"as","createable":"true"})"),
            "expected a boolean at $.createable");
  EXPECT_EQ(tests::failureOf<SObject>(R"({"name":"A","label":"a","labelPlural":"as","createable":1})"),
            "expected a boolean at $.createable");
}

TEST(SObjectTest, ReportsTheFirstOfSeveralFailuresInTheOrderOfItsFields) {
  EXPECT_EQ(tests::failureOf<SObject>(R"({"createable":1,"label":2,"keyPrefix":3,"name":"A"})"),
            "expected a string at $.keyPrefix");
}

TEST(SObjectTest, WritesItsKeysInTheirOrderAndLeavesAbsentOnesOut) {
  const auto whole = json::encode(SObject{"Account", "001", "Account", "Accounts", true});
  const auto without = json::encode(SObject{"A", std::nullopt, "a", "as", false});
  ASSERT_TRUE(whole && without);
  EXPECT_EQ(whole.value().view(), accountText);
  EXPECT_EQ(without.value().view(), R"({"name":"A","label":"a","labelPlural":"as","createable":false})");
}

TEST(SObjectTest, ReadsBackEqualFromAList) {
  const std::vector<SObject> list{{"B", "0B0", "b", "bs", true}, {"A", std::nullopt, "\"a\"", "ä", false}};
  const auto encoded = json::encode(list);
  ASSERT_TRUE(encoded);
  const auto decoded = json::decode<std::vector<SObject>>(encoded.value());
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value(), list);
}

}  // namespace
}  // namespace vellora
