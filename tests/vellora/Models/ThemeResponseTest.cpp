#include "vellora/Models/ThemeResponse.h"

#include <gtest/gtest.h>

#include "tests/support/DecodingFailure.h"

namespace vellora {
namespace {

TEST(ThemeResponseTest, ReadsItsEntriesInTheServersOrder) {
  const auto decoded = json::decode<ThemeResponse>(
      Data(R"({"themeItems":[{"name":"B","icons":[]},{"name":"A","icons":[]}],"themes":["light"]})"));
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value(), (ThemeResponse{{{"B", std::nullopt, {}}, {"A", std::nullopt, {}}}}));
}

TEST(ThemeResponseTest, MayBeEmptyButNotWithoutItsList) {
  const auto decoded = json::decode<ThemeResponse>(Data(R"({"themeItems":[]})"));
  ASSERT_TRUE(decoded);
  EXPECT_TRUE(decoded.value().themeItems.empty());
  EXPECT_EQ(tests::failureOf<ThemeResponse>("{}"), "missing key \"themeItems\" at $");
  EXPECT_EQ(tests::failureOf<ThemeResponse>(R"({"themeItems":null})"), "expected an array at $.themeItems");
}

TEST(ThemeResponseTest, FailsAsAWholeForOneBadEntryIconOrColor) {
  EXPECT_EQ(tests::failureOf<ThemeResponse>(R"({"themeItems":[{"name":"A","icons":[]},{"name":"B"}]})"),
            "missing key \"icons\" at $.themeItems[1]");
  EXPECT_EQ(
      tests::failureOf<ThemeResponse>(
          R"({"themeItems":[{"name":"A","icons":[{"contentType":"c","theme":"t","url":"u","width":16.5}]}]})"),
      "expected an integer at $.themeItems[0].icons[0].width");
  EXPECT_EQ(tests::failureOf<ThemeResponse>(
                R"({"themeItems":[{"name":"A","icons":[],"colors":[{"color":"x","theme":"t"}]}]})"),
            "missing key \"context\" at $.themeItems[0].colors[0]");
}

TEST(ThemeResponseTest, WritesItsEntriesInTheirOrder) {
  const auto encoded = json::encode(ThemeResponse{{{"B", std::nullopt, {}}, {"A", std::nullopt, {}}}});
  ASSERT_TRUE(encoded);
  EXPECT_EQ(encoded.value().view(), R"({"themeItems":[{"name":"B","icons":[]},{"name":"A","icons":[]}]})");
}

}  // namespace
}  // namespace vellora
