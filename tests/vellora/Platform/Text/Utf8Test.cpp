#include "vellora/Platform/Text/Utf8.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace vellora
