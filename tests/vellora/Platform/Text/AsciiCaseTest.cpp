#include "vellora/Platform/Text/AsciiCase.h"

#include <gtest/gtest.h>

#include <string>

namespace vellora {
namespace {

TEST(AsciiCaseTest, LettersBecomeSmallAndAllElseStays) {
  for (int value = 0; value < 256; ++value) {
    const char character = static_cast<char>(value);
    const bool isCapital = value >= 65 && value <= 90;
    EXPECT_EQ(asciiLowerCase(character), isCapital ? static_cast<char>(value + 32) : character) << value;
  }
}

TEST(AsciiCaseTest, LettersBecomeCapitalsAndAllElseStays) {
  for (int value = 0; value < 256; ++value) {
    const char character = static_cast<char>(value);
    const bool isSmall = value >= 97 && value <= 122;
    EXPECT_EQ(asciiUpperCase(character), isSmall ? static_cast<char>(value - 32) : character) << value;
  }
}

TEST(AsciiCaseTest, ATextKeepsItsLengthAndItsOtherBytes) {
  EXPECT_EQ(asciiLowerCase("X-Limit_42[Z]"), "x-limit_42[z]");
  EXPECT_EQ(asciiLowerCase(std::string("A\0B", 3)), std::string("a\0b", 3));
  EXPECT_EQ(asciiLowerCase("\xc3\x84\xc4"), "\xc3\x84\xc4");
  EXPECT_EQ(asciiLowerCase(""), "");
}

TEST(AsciiCaseTest, TextsThatDifferInCaseOnlyAreEqual) {
  EXPECT_TRUE(equalIgnoringAsciiCase("Accept-ENCODING", "accept-encoding"));
  EXPECT_TRUE(equalIgnoringAsciiCase("", ""));
  EXPECT_FALSE(equalIgnoringAsciiCase("accept", "accepts"));
  EXPECT_FALSE(equalIgnoringAsciiCase("accepts", "accept"));
  EXPECT_FALSE(equalIgnoringAsciiCase("@[", "`{")) << "what stands around the letters is none";
  EXPECT_FALSE(equalIgnoringAsciiCase("\xc3\x84", "\xc3\xa4"));
}

}  // namespace
}  // namespace vellora
