#include "vellora/Platform/Json/JsonSyntax.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>

#include "vellora/Platform/Json/JsonDocument.h"

namespace vellora::json {
namespace {

std::string errorIn(std::string_view text, std::size_t firstByte = 0) {
  const auto error = findSyntaxError(text, firstByte);
  return error ? error->localizedDescription() : "none";
}

TEST(JsonSyntaxTest, FindsNothingInAValidText) {
  for (const std::string_view text :
       {"1", " null ", "{}", R"({"a":[1,2.5,"x",true]})", "\"\\u00e9\"", R"({"a\u0062c":[]})", "1e308",
        "1e999", "[1e99999999999999999999]", "18446744073709551616"}) {
    EXPECT_EQ(errorIn(text), "none") << text;
  }
}

TEST(JsonSyntaxTest, TellsByteAndReason) {
  EXPECT_EQ(errorIn("[1,x]"), "not valid JSON at byte 3: syntax error");
  EXPECT_EQ(errorIn("[1"), "not valid JSON at byte 2: the text ends too early");
  EXPECT_EQ(errorIn("1 1"), "not valid JSON at byte 2: more text after the value");
  EXPECT_EQ(errorIn("[1e99999999999999999999,x]"), "not valid JSON at byte 24: syntax error");
  EXPECT_EQ(errorIn(std::string(600, '[')), "not valid JSON at byte 512: nested deeper than 512");
}

TEST(JsonSyntaxTest, NumbersBytesFromTheFirstByteThatItIsGiven) {
  EXPECT_EQ(errorIn("[1,x]", 3), "not valid JSON at byte 6: syntax error");
}

TEST(JsonSyntaxTest, AgreesWithTheParserOnDamagedTexts) {
  constexpr std::string_view whole =
      R"({"a":[{"name":"Açc\u00e9\n\ud83d\ude00","n":null},-1.5e3,18446744073709551615],"b":{"c":true,"d":false}})";
  constexpr std::string_view pieces = "{}[]\",:\\u0019eE+-.tfn \n\x01\x80\xC3\xED\xFF";
  std::mt19937 random(20261120);
  int valid = 0;
  for (int round = 0; round < 20'000; ++round) {
    std::string text(whole);
    for (auto left = random() % 3 + 1; left > 0; --left)
      text[random() % text.size()] = pieces[random() % pieces.size()];
    Document document;
    const auto refusal = document.parse(Data(text));
    ASSERT_EQ(refusal, findSyntaxError(text, 0)) << text;
    if (!refusal) ++valid;
  }
  EXPECT_GT(valid, 100);
}

}  // namespace
}  // namespace vellora::json
