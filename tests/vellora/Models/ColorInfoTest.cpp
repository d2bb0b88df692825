#include "vellora/Models/ColorInfo.h"

#include <gtest/gtest.h>

#include "tests/support/DecodingFailure.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora {
namespace {

TEST(ColorInfoTest, ReadsItsThreeTextsAndIgnoresOtherKeys) {
  const auto decoded =
      json::decode<ColorInfo>(Data(R"({"alpha":1,"color":"F2CF5B","context":"primary","theme":"light"})"));
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value(), (ColorInfo{"F2CF5B", "primary", "light"}));
}

TEST(ColorInfoTest, PassesTheColorOnUntouched) {
  const auto decoded = json::decode<ColorInfo>(Data(R"({"color":" rgb(1, 2) ","context":"","theme":""})"));
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value().color, " rgb(1, 2) ");
}

TEST(ColorInfoTest, NeedsEachOfTheThree) {
  EXPECT_EQ(tests::failureOf<ColorInfo>(R"({"context":"c","theme":"t"})"), "missing key \"color\" at $");
  EXPECT_EQ(tests::failureOf<ColorInfo>(R"({"color":"x","theme":"t"})"), "missing key \"context\" at $");
  EXPECT_EQ(tests::failureOf<ColorInfo>(R"({"color":"x","context":"c"})"), "missing key \"theme\" at $");
  EXPECT_EQ(tests::failureOf<ColorInfo>(R"({"color":"x","context":null,"theme":"t"})"),
            "expected a string at $.context");
  EXPECT_EQ(tests::failureOf<ColorInfo>(R"({"color":7,"context":"c","theme":"t"})"),
            "expected a string at $.color");
}

TEST(ColorInfoTest, WritesItsThreeTexts) {
  const auto encoded = json::encode(ColorInfo{"F2CF5B", "primary", "light"});
  ASSERT_TRUE(encoded);
  EXPECT_EQ(encoded.value().view(), R"({"color":"F2CF5B","context":"primary","theme":"light"})");
}

}  // namespace
}  // namespace vellora
