#include "vellora/Models/ThemeItem.h"

#include <gtest/gtest.h>

namespace vellora {
namespace {

using Colors = std::vector<ColorInfo>;
using Icons = std::vector<IconInfo>;

constexpr const char* png = "image/png";
constexpr const char* svg = "image/svg+xml";

ThemeItem withColors(std::optional<Colors> colors) {
  return {"Account", std::move(colors), {}};
}

ThemeItem withIcons(Icons icons) {
  return {"Account", std::nullopt, std::move(icons)};
}

TEST(ThemeItemTest, ChoosesTheColorOfTheTheme) {
  const auto item = withColors(Colors{{"A", "primary", "T1"}, {"B", "primary", "T2"}});
  EXPECT_EQ(item.color("T2"), "B");
}

TEST(ThemeItemTest, FallsBackToTheFirstColorOfAnyTheme) {
  const auto item = withColors(Colors{{"A", "primary", "T1"}, {"B", "primary", "T2"}});
  EXPECT_EQ(item.color("T3"), "A");
}

TEST(ThemeItemTest, HasNoColorWhenTheListIsEmptyOrAbsent) {
  EXPECT_EQ(withColors(Colors{}).color("T1"), std::nullopt);
  EXPECT_EQ(withColors(std::nullopt).color("T1"), std::nullopt);
}

TEST(ThemeItemTest, OfSeveralColorsOfAThemeTheFirstIsChosen) {
  const auto item = withColors(Colors{{"A", "secondary", "T1"}, {"B", "primary", "T1"}});
  EXPECT_EQ(item.color("T1"), "A");
}

TEST(ThemeItemTest, ComparesThemeNamesAsTheyStand) {
  const auto item = ThemeItem{"Account",
                              Colors{{"A", "c", "x"}, {"B", "c", "t1"}, {"C", "c", "T1 "}},
                              {{svg, "t1", "a", 8}, {svg, "T1 ", "b", 16}}};
  EXPECT_EQ(item.color("T1"), "A");
  EXPECT_EQ(item.svgIconUrl("T1"), std::nullopt);
  EXPECT_EQ(item.largeIconUrl("T1"), "b");
}

TEST(ThemeItemTest, AnEmptyThemeNameIsAThemeLikeAnyOther) {
  const auto item = ThemeItem{"Account", Colors{{"A", "c", "T1"}, {"B", "c", ""}}, {{svg, "", "a", 8}}};
  EXPECT_EQ(item.color(""), "B");
  EXPECT_EQ(item.svgIconUrl(""), "a");
}

TEST(ThemeItemTest, ChoosesTheFirstVectorIconOfTheThemeWhateverItsWidth) {
  const auto item =
      withIcons({{png, "T1", "a", 8}, {svg, "T2", "b", 8}, {svg, "T1", "c", -1}, {svg, "T1", "d", 8}});
  EXPECT_EQ(item.svgIconUrl("T1"), "c");
}

TEST(ThemeItemTest, TakesNoVectorIconFromAnotherThemeOrContentType) {
  const auto item = withIcons({{svg, "T2", "a", 8}, {png, "T1", "b", 8}, {"image/SVG+xml", "T1", "c", 8}});
  EXPECT_EQ(item.svgIconUrl("T1"), std::nullopt);
}

TEST(ThemeItemTest, ChoosesTheNarrowestAndTheWidestIconAndOfEqualOnesTheFirst) {
  const auto item =
      withIcons({{png, "T1", "a", 120}, {png, "T1", "b", 60}, {png, "T1", "c", 60}, {png, "T1", "d", 120}});
  EXPECT_EQ(item.smallIconUrl("T1"), "b");
  EXPECT_EQ(item.largeIconUrl("T1"), "a");
}

TEST(ThemeItemTest, FallsBackToAllIconsWhenTheThemeHasNoneWithAWidth) {
  const auto item =
      withIcons({{png, "T2", "wide", 32}, {png, "T1", "first", std::nullopt}, {png, "T1", "zero", 0}});
  EXPECT_EQ(item.smallIconUrl("T1"), "first");
  EXPECT_EQ(item.largeIconUrl("T1"), "wide");
}

TEST(ThemeItemTest, ANegativeWidthIsTheNarrowestOfTheFallbackAndNoCandidate) {
  const auto item = withIcons({{png, "T1", "zero", 0}, {png, "T1", "negative", -5}, {png, "T2", "wide", 32}});
  EXPECT_EQ(item.smallIconUrl("T1"), "negative");
  EXPECT_EQ(item.largeIconUrl("T1"), "wide");
  EXPECT_EQ(item.smallIconUrl("T2"), "wide");
}

TEST(ThemeItemTest, AnIconWithoutWidthIsTheLargestOnlyWhenNoneHasAPositiveOne) {
  const auto item =
      withIcons({{png, "T1", "negative", -5}, {png, "T1", "none", std::nullopt}, {png, "T2", "zero", 0}});
  EXPECT_EQ(item.largeIconUrl("T1"), "none");
  EXPECT_EQ(item.smallIconUrl("T1"), "negative");
}

TEST(ThemeItemTest, AVectorIconWithAWidthCanBeTheSmallOne) {
  const auto item = withIcons({{svg, "T1", "vector", 24}, {png, "T1", "raster", 48}});
  EXPECT_EQ(item.smallIconUrl("T1"), "vector");
  EXPECT_EQ(item.svgIconUrl("T1"), "vector");
  EXPECT_EQ(item.largeIconUrl("T1"), "raster");
}

TEST(ThemeItemTest, HasNoIconsWhenTheListIsEmpty) {
  EXPECT_EQ(withIcons({}).svgIconUrl("T1"), std::nullopt);
  EXPECT_EQ(withIcons({}).smallIconUrl("T1"), std::nullopt);
  EXPECT_EQ(withIcons({}).largeIconUrl("T1"), std::nullopt);
}

TEST(ThemeItemTest, AnAbsentColorListStaysAbsentAndAnEmptyOneEmpty) {
  const auto absent = json::decode<ThemeItem>(Data(R"({"name":"A","icons":[]})"));
  ASSERT_TRUE(absent);
  EXPECT_EQ(absent.value().colors, std::nullopt);
  EXPECT_EQ(json::encode(absent.value()).value().view(), R"({"name":"A","icons":[]})");

  const auto empty = json::decode<ThemeItem>(Data(R"({"name":"A","colors":[],"icons":[]})"));
  ASSERT_TRUE(empty);
  EXPECT_EQ(empty.value().colors, Colors{});
  EXPECT_EQ(json::encode(empty.value()).value().view(), R"({"name":"A","colors":[],"icons":[]})");

  const auto null = json::decode<ThemeItem>(Data(R"({"name":"A","colors":null,"icons":[]})"));
  ASSERT_TRUE(null);
  EXPECT_EQ(null.value().colors, std::nullopt);
}

TEST(ThemeItemTest, NeedsItsNameAndItsIcons) {
  const auto failureOf = [](const char* text) {
    const auto decoded = json::decode<ThemeItem>(Data(std::string(text)));
    return decoded ? "none" : decoded.error().localizedDescription();
  };
  EXPECT_EQ(failureOf(R"({"icons":[]})"), "missing key \"name\" at $");
  EXPECT_EQ(failureOf(R"({"name":"A"})"), "missing key \"icons\" at $");
  EXPECT_EQ(failureOf(R"({"name":"A","icons":null})"), "expected an array at $.icons");
  EXPECT_EQ(failureOf(R"({"name":"A","icons":[],"colors":{}})"), "expected an array at $.colors");
}

TEST(ThemeItemTest, AListKeepsItsOrderThroughJson) {
  const std::vector<ThemeItem> items{{"B",
                                      Colors{{"1", "c", "T1"}, {"0", "c", "T1"}},
                                      {{png, "T1", "z", 9}, {svg, "T1", "a", std::nullopt}}},
                                     {"A", std::nullopt, {}}};
  const auto encoded = json::encode(items);
  ASSERT_TRUE(encoded);
  const auto decoded = json::decode<std::vector<ThemeItem>>(encoded.value());
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value(), items);
}

}  // namespace
}  // namespace vellora
