#include "vellora/Platform/Json/JsonPath.h"

#include <gtest/gtest.h>

#include <string>

namespace vellora::json {
namespace {

TEST(JsonPathTest, IsTheTopLevelWhenEmpty) {
  EXPECT_EQ(Path().text(), "$");
}

TEST(JsonPathTest, IsBuiltFromTheInsideOut) {
  Path path;
  path.under("createable");
  path.under(std::size_t{3});
  path.under("sobjects");
  EXPECT_EQ(path.text(), "$.sobjects[3].createable");
}

TEST(JsonPathTest, QuotesKeysThatAreNoPlainIdentifiers) {
  const auto textOf = [](std::string_view key) {
    Path path;
    path.under(key);
    return path.text();
  };
  EXPECT_EQ(textOf("Id_2"), "$.Id_2");
  EXPECT_EQ(textOf("_azAZ09"), "$._azAZ09");
  EXPECT_EQ(textOf(std::string(80, 'k')), "$." + std::string(80, 'k'));
  EXPECT_EQ(textOf("0th"), R"($["0th"])");
  EXPECT_EQ(textOf("9th"), R"($["9th"])");
  EXPECT_EQ(textOf("a b"), R"($["a b"])");
  EXPECT_EQ(textOf("{a}"), R"($["{a}"])");
  EXPECT_EQ(textOf(""), R"($[""])");
  EXPECT_EQ(textOf("2nd"), R"($["2nd"])");
  EXPECT_EQ(textOf("a\"]\r\n\\"), R"($["a\"]\r\n\\"])");
  EXPECT_EQ(textOf("é"), R"($["é"])");
}

TEST(JsonPathTest, CutsLongKeys) {
  Path path;
  path.under(std::string(1000, 'k'));
  EXPECT_EQ(path.text(), "$[\"" + std::string(78, 'k') + "…\"]");
}

TEST(JsonPathTest, LeavesOutTheMiddleOfALongPath) {
  Path path;
  for (std::size_t step = 512; step > 0; --step) path.under(step);
  EXPECT_EQ(path.text(),
            "$[1][2][3][4][5][6][7][8][9][10][11][12]…"
            "[501][502][503][504][505][506][507][508][509][510][511][512]");
}

TEST(JsonPathTest, ForgetsItsStepsWhenItIsCleared) {
  Path path;
  path.under("a");
  path.clear();
  EXPECT_EQ(path.text(), "$");
}

}  // namespace
}  // namespace vellora::json
