#include "vellora/Platform/Text/Utf8.h"

#include <gtest/gtest.h>

#include <string_view>

namespace vellora {
namespace {

TEST(Utf8Test, GoesThroughATextCharacterByCharacter) {
  EXPECT_EQ(firstCharacter("ab").codePoint, U'a');
  EXPECT_EQ(firstCharacter("ab").length, 1U);
  EXPECT_EQ(firstCharacter("é!").codePoint, U'é');
  EXPECT_EQ(firstCharacter("é!").length, 2U);
  EXPECT_EQ(firstCharacter("€").length, 3U);
  EXPECT_EQ(firstCharacter("😀a").codePoint, U'😀');
  EXPECT_EQ(firstCharacter("😀a").length, 4U);
  EXPECT_EQ(firstCharacter({"\0a", 2}).codePoint, U'\0');
}

TEST(Utf8Test, CountsEachByteThatBeginsNoCharacterAsACharacter) {
  for (const char* text : {"\xFF", "\x80", "\xC3", "\xC3(", "\xC0\x80", "\xE2\x82", "\xED\xA0\x80",
                           "\xF4\x90\x80\x80", "\xF0\x9F\x98"}) {
    EXPECT_EQ(firstCharacter(text).codePoint, char32_t{0xFFFD}) << text;
    EXPECT_EQ(firstCharacter(text).length, 1U) << text;
  }
}

TEST(Utf8Test, KnowsTheFirstAndTheLastCharacterOfEachLength) {
  for (const std::string_view text :
       {"\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80", "\xEF\xBF\xBF",
        "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"}) {
    EXPECT_EQ(firstCharacter(text).length, text.size()) << text;
  }
}

TEST(Utf8Test, TakesTooManyBytesASurrogateAndAStrangeFirstByteForNoCharacter) {
  for (const char* text : {"\xC1\xBF", "\xE0\x9F\xBF", "\xED\xBF\xBF", "\xF0\x8F\xBF\xBF", "\x8A\xA0\x80",
                           "\x81\x90\x80\x80", "\xF9\x90\x80\x80"}) {
    EXPECT_EQ(firstCharacter(text).length, 1U) << text;
  }
}

TEST(Utf8Test, LooksNoFurtherThanTheText) {
  EXPECT_EQ(firstCharacter(std::string_view("é").substr(0, 1)).codePoint, char32_t{0xFFFD});
}

TEST(Utf8Test, KnowsATextFromOtherBytes) {
  for (const char* text : {"", "ab", "é€😀", "\xEF\xBF\xBD"}) EXPECT_TRUE(isUtf8(text)) << text;
  for (const char* bytes : {"\xFF", "\x80", "a\xC3(", "\xED\xA0\x80", "é\xF0\x9F\x98"})
    EXPECT_FALSE(isUtf8(bytes)) << bytes;
}

TEST(Utf8Test, PutsAReplacementInThePlaceOfEachByteThatIsNoText) {
  EXPECT_EQ(utf8From("aé\xFF\xC3(€"), "aé\xEF\xBF\xBD\xEF\xBF\xBD(€");
  EXPECT_EQ(utf8From("\xEF\xBF\xBD"), "\xEF\xBF\xBD");
  EXPECT_EQ(utf8From(""), "");
}

}  // namespace
}  // namespace vellora
