#include "vellora/Models/CompactLayoutResults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/DecodingFailure.h"

namespace vellora {
namespace {

Result<CompactLayoutResults> decoded(const std::string& text) {
  return json::decode<CompactLayoutResults>(Data(text));
}

std::vector<std::string> typesIn(const std::string& text) {
  const auto results = decoded(text);
  if (!results) return {results.error().localizedDescription()};
  std::vector<std::string> types;
  for (const auto& layout : results.value().layouts) types.push_back(layout.objectType);
  return types;
}

std::string layout(const std::string& type) {
  return R"({"objectType":")" + type + R"(","fieldItems":[]})";
}

TEST(CompactLayoutResultsTest, HoldsTheLayoutsInTheOrderOfTheDocument) {
  EXPECT_THAT(typesIn(R"({"User":)" + layout("User") + R"(,"Account":)" + layout("Account") + R"(,"Case":)" +
                      layout("Case") + "}"),
              testing::ElementsAre("User", "Account", "Case"));
}

TEST(CompactLayoutResultsTest, TakesTheTypeFromTheLayoutWhateverTheKeySays) {
  EXPECT_THAT(typesIn(R"({"":)" + layout("User") + R"(,"0":)" + layout("Account") + R"(,"layouts":)" +
                      layout("Account") + "}"),
              testing::ElementsAre("User", "Account", "Account"));
}

TEST(CompactLayoutResultsTest, AnEmptyAnswerHasNoLayouts) {
  EXPECT_TRUE(typesIn("{}").empty());
}

TEST(CompactLayoutResultsTest, OfDuplicateKeysTheFirstCounts) {
  EXPECT_THAT(typesIn(R"({"User":)" + layout("User") + R"(,"User":)" + layout("Other") + "}"),
              testing::ElementsAre("User"));
}

TEST(CompactLayoutResultsTest, OneBadLayoutFailsTheWholeAnswer) {
  EXPECT_EQ(tests::failureOf<CompactLayoutResults>(R"({"User":)" + layout("User") +
                                                   R"(,"Account":{"objectType":"Account"}})"),
            R"(missing key "fieldItems" at $.Account)");
  EXPECT_EQ(tests::failureOf<CompactLayoutResults>(R"({"User":null})"), "expected an object at $.User");
  EXPECT_EQ(tests::failureOf<CompactLayoutResults>(R"({"hasErrors":false,"User":)" + layout("User") + "}"),
            "expected an object at $.hasErrors");
}

TEST(CompactLayoutResultsTest, AnAnswerThatIsNoObjectFails) {
  EXPECT_EQ(tests::failureOf<CompactLayoutResults>(std::string("[") + layout("User") + "]"),
            "expected an object at $");
  EXPECT_EQ(tests::failureOf<CompactLayoutResults>("null"), "expected an object at $");
}

TEST(CompactLayoutResultsTest, WhatItWritesIsNotWhatItReads) {
  const auto results = decoded(R"({"User":)" + layout("User") + R"(,"Account":)" + layout("Account") + "}");
  ASSERT_TRUE(results);
  const auto text = json::encode(results.value()).value();
  EXPECT_EQ(
      text.view(),
      R"({"layouts":[{"objectType":"User","layoutFields":[]},{"objectType":"Account","layoutFields":[]}]})");
  EXPECT_EQ(tests::failureOf<CompactLayoutResults>(std::string(text.view())),
            "expected an object at $.layouts");
  EXPECT_EQ(json::encode(CompactLayoutResults()).value().view(), R"({"layouts":[]})");
}

}  // namespace
}  // namespace vellora
