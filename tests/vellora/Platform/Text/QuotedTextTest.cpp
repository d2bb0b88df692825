#include "vellora/Platform/Text/QuotedText.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>

namespace vellora {
namespace {

std::size_t replacementsIn(std::string_view text) {
  std::size_t count = 0;
  for (auto at = text.find("\uFFFD"); at != std::string_view::npos; at = text.find("\uFFFD", at + 1)) ++count;
  return count;
}

TEST(QuotedTextTest, LeavesPlainTextAsItIs) {
  EXPECT_EQ(quotedText("Account"), R"("Account")");
  EXPECT_EQ(quotedText(""), R"("")");
  EXPECT_EQ(quotedText("é 😀 /"), R"("é 😀 /")");
}

TEST(QuotedTextTest, EscapesWhatCouldEndTheQuotesOrTheLine) {
  EXPECT_EQ(quotedText("\"\\\n\r\t"), R"("\"\\\n\r\t")");
  EXPECT_EQ(quotedText(std::string("\0\x1F\x7F", 3)), R"("\u0000\u001f\u007f")");
  EXPECT_EQ(quotedText("\u0085\u2028\u2029"), R"("\u0085\u2028\u2029")");
}

TEST(QuotedTextTest, EscapesMarksThatReverseALine) {
  EXPECT_EQ(quotedText("\u202E\u2066"), R"("\u202e\u2066")");
  EXPECT_EQ(quotedText("\u061C\u200E\u200F"), R"("\u061c\u200e\u200f")");
}

TEST(QuotedTextTest, ReplacesBytesThatAreNotUtf8) {
  EXPECT_EQ(quotedText("a\xFF"), "\"a\uFFFD\"");
  EXPECT_EQ(quotedText("\xC3"), "\"\uFFFD\"");
  EXPECT_EQ(quotedText("\xC3("), "\"\uFFFD(\"");
  EXPECT_EQ(quotedText("\xC0\x8A"), "\"\uFFFD\uFFFD\"");
  EXPECT_EQ(quotedText("\xED\xA0\x80"), "\"\uFFFD\uFFFD\uFFFD\"");
  EXPECT_EQ(quotedText("\xF4\x90\x80\x80"), "\"\uFFFD\uFFFD\uFFFD\uFFFD\"");
}

TEST(QuotedTextTest, CutsAfterAWholeCharacter) {
  EXPECT_EQ(quotedText("abcdef", 8), R"("abcdef")");
  EXPECT_EQ(quotedText("abcdefg", 8), R"("abcdef…")");
  EXPECT_EQ(quotedText("ééé", 6), R"("éé…")");
  EXPECT_EQ(quotedText("\n\n\n", 7), R"("\n\n…")");
}

TEST(QuotedTextTest, IsAppendedBehindWhatIsThere) {
  std::string line = "name: ";
  appendQuotedText(line, "a\"b");
  EXPECT_EQ(line, R"(name: "a\"b")");
}

TEST(QuotedTextTest, CutsWhatItAppendsWhateverStandsBefore) {
  for (const std::size_t before : {0U, 1U, 6U, 100U}) {
    const std::string beginning(before, '-');
    std::string line = beginning;
    appendQuotedText(line, "abcdefg", 8);
    EXPECT_EQ(line, beginning + R"("abcdef…")");
  }
}

TEST(QuotedTextTest, IsOneLineOfUtf8WhateverTheBytes) {
  std::mt19937 random(20261120);
  for (int round = 0; round < 2000; ++round) {
    std::string bytes(random() % 20, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random() % 256);
    const std::string quoted = quotedText(bytes);
    for (const char c : quoted) EXPECT_TRUE(static_cast<unsigned char>(c) >= 0x20 && c != '\x7F') << quoted;
    EXPECT_EQ(replacementsIn(quotedText(quoted)), replacementsIn(quoted)) << "not UTF-8: " << quoted;
  }
}

}  // namespace
}  // namespace vellora
