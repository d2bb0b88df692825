#include "vellora/Platform/Text/EscapedText.h"

#include <gtest/gtest.h>

#include <string>

namespace vellora {
namespace {

TEST(EscapedTextTest, LeavesPlainTextAsItIs) {
  EXPECT_EQ(escapedText(""), "");
  EXPECT_EQ(escapedText("save(_:), sObject.name: Account"), "save(_:), sObject.name: Account");
  EXPECT_EQ(escapedText("C:\\n \"quoted\""), "C:\\n \"quoted\"");
  EXPECT_EQ(escapedText("Käse, 日本, 🙂"), "Käse, 日本, 🙂");
  EXPECT_EQ(escapedText("\ufffd"), "\ufffd");
}

TEST(EscapedTextTest, KeepsATextOnOneLine) {
  EXPECT_EQ(escapedText("a\nb\r\nc\td"), "a\\nb\\r\\nc\\td");
  EXPECT_EQ(escapedText("a\u2028b\u2029c\u0085d"), "a\\u2028b\\u2029c\\u0085d");
}

TEST(EscapedTextTest, DrivesNoTerminal) {
  EXPECT_EQ(escapedText("\x1b[2J"), "\\x1b[2J");
  EXPECT_EQ(escapedText("\u009b2J"), "\\u009b2J");
  EXPECT_EQ(escapedText("\a\b\x7f"), "\\x07\\x08\\x7f");
  EXPECT_EQ(escapedText(std::string("a\0b", 3)), "a\\x00b");
  EXPECT_EQ(escapedText("a\u202eb\u2066c"), "a\\u202eb\\u2066c");
}

TEST(EscapedTextTest, EscapesEveryMarkThatTurnsTheDirectionOfWriting) {
  EXPECT_EQ(escapedText("\u200e\u200f\u061c"), "\\u200e\\u200f\\u061c");
  EXPECT_EQ(escapedText("\u202a\u202b\u202c\u202d\u202e"), "\\u202a\\u202b\\u202c\\u202d\\u202e");
  EXPECT_EQ(escapedText("\u2066\u2067\u2068\u2069"), "\\u2066\\u2067\\u2068\\u2069");
  EXPECT_EQ(escapedText("\u200d\u061b\u2065\u206a"), "\u200d\u061b\u2065\u206a") << "their neighbours stay";
}

TEST(EscapedTextTest, EscapesEveryC1ControlAndNoCharacterBehindThem) {
  EXPECT_EQ(escapedText("\u0080\u009f\u00a0"), "\\u0080\\u009f\u00a0");
}

TEST(EscapedTextTest, WritesBytesThatAreNotUtf8AsEscapes) {
  EXPECT_EQ(escapedText("\xff"
                        "a"),
            "\\xffa");
  EXPECT_EQ(escapedText("a\xc3"), "a\\xc3");
  EXPECT_EQ(escapedText("\xc3"
                        "a"),
            "\\xc3"
            "a");
  EXPECT_EQ(escapedText("\x9b"
                        "2J"),
            "\\x9b"
            "2J");
  EXPECT_EQ(escapedText("\xc0\x8a"), "\\xc0\\x8a");                    // a line feed in too many bytes
  EXPECT_EQ(escapedText("\xed\xa0\x80"), "\\xed\\xa0\\x80");           // half a surrogate pair
  EXPECT_EQ(escapedText("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");  // beyond the last character
}

TEST(EscapedJsonTest, MeansTheSameAndDrivesNoDisplay) {
  EXPECT_EQ(escapedJson("{\"a\\n\":\"\x7f\u009b2J\u202e\u061c\u2028\"}"),
            R"({"a\n":"\u007f\u009b2J\u202e\u061c\u2028"})");
  EXPECT_EQ(escapedJson("[\"Käse, 日本, 🙂\\u001b\"]\n"), "[\"Käse, 日本, 🙂\\u001b\"]\n");
  EXPECT_EQ(escapedJson(""), "");
}

}  // namespace
}  // namespace vellora
