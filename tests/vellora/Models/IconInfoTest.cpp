#include "vellora/Models/IconInfo.h"

#include <gtest/gtest.h>

#include "vellora/Platform/Json/Json.h"

namespace vellora {
namespace {

Result<IconInfo> withWidth(const std::string& width) {
  return json::decode<IconInfo>(
      Data(R"({"contentType":"image/png","theme":"light","url":"u","width":)" + width + "}"));
}

TEST(IconInfoTest, ReadsItsFieldsAndIgnoresTheHeight) {
  const auto decoded = json::decode<IconInfo>(
      Data(R"({"contentType":"image/png","height":"tall","theme":"light","url":"/i.png","width":32})"));
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value(), (IconInfo{"image/png", "light", "/i.png", 32}));
}

TEST(IconInfoTest, HasNoWidthWhenTheKeyIsMissingOrNull) {
  const auto missing = json::decode<IconInfo>(Data(R"({"contentType":"c","theme":"t","url":"u"})"));
  ASSERT_TRUE(missing);
  EXPECT_EQ(missing.value().width, std::nullopt);
  const auto null = withWidth("null");
  ASSERT_TRUE(null);
  EXPECT_EQ(null.value().width, std::nullopt);
}

TEST(IconInfoTest, ReadsAWidthOf64BitsAndOneThatIsIntegralHoweverWritten) {
  const auto large = withWidth("9223372036854775807");
  ASSERT_TRUE(large);
  EXPECT_EQ(large.value().width, 9223372036854775807);
  const auto negative = withWidth("-4");
  ASSERT_TRUE(negative);
  EXPECT_EQ(negative.value().width, -4);
  const auto integral = withWidth("16.0");
  ASSERT_TRUE(integral);
  EXPECT_EQ(integral.value().width, 16);
}

TEST(IconInfoTest, FailsOnAWidthThatIsNoWholeNumber) {
  for (const auto* width : {"16.5", "\"16\"", "true", "[]"}) {
    const auto decoded = withWidth(width);
    ASSERT_FALSE(decoded) << width;
    EXPECT_EQ(decoded.error().localizedDescription(), "expected an integer at $.width") << width;
  }
}

TEST(IconInfoTest, TakesAWidthExactlyOrNotAtAll) {
  const auto widest = withWidth("9223372036854775807.0");
  ASSERT_TRUE(widest);
  EXPECT_EQ(widest.value().width, 9223372036854775807);
  for (const auto* width :
       {"4503599627370497.5", "16.00000000000000000001", "18446744073709551616", "1e400"}) {
    const auto decoded = withWidth(width);
    ASSERT_FALSE(decoded) << width;
    EXPECT_EQ(decoded.error().localizedDescription(), "expected an integer at $.width") << width;
  }
}

TEST(IconInfoTest, NeedsTheThreeTexts) {
  const auto failureOf = [](const char* text) {
    const auto decoded = json::decode<IconInfo>(Data(std::string(text)));
    return decoded ? "none" : decoded.error().localizedDescription();
  };
  EXPECT_EQ(failureOf(R"({"theme":"t","url":"u"})"), "missing key \"contentType\" at $");
  EXPECT_EQ(failureOf(R"({"contentType":"c","url":"u"})"), "missing key \"theme\" at $");
  EXPECT_EQ(failureOf(R"({"contentType":"c","theme":"t"})"), "missing key \"url\" at $");
  EXPECT_EQ(failureOf(R"({"contentType":"c","theme":"t","url":null})"), "expected a string at $.url");
}

TEST(IconInfoTest, LeavesAnAbsentWidthOutWhenWritten) {
  const auto without = json::encode(IconInfo{"c", "t", "u", std::nullopt});
  ASSERT_TRUE(without);
  EXPECT_EQ(without.value().view(), R"({"contentType":"c","theme":"t","url":"u"})");
  const auto with = json::encode(IconInfo{"c", "t", "u", 0});
  ASSERT_TRUE(with);
  EXPECT_EQ(with.value().view(), R"({"contentType":"c","theme":"t","url":"u","width":0})");
}

}  // namespace
}  // namespace vellora
