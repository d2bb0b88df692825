#include "hostkit/log/LogText.h"

#include <gtest/gtest.h>

#include <string>

namespace vellora::hostkit {
namespace {

TEST(LogTextTest, LeavesPlainTextAsItIs) {
  EXPECT_EQ(escapedLogText(""), "");
  EXPECT_EQ(escapedLogText("save(_:), sObject.name: Account"), "save(_:), sObject.name: Account");
  EXPECT_EQ(escapedLogText("C:\\n \"quoted\""), "C:\\n \"quoted\"");
  EXPECT_EQ(escapedLogText("Käse, 日本, 🙂"), "Käse, 日本, 🙂");
}

TEST(LogTextTest, KeepsAMessageOnOneLine) {
  EXPECT_EQ(escapedLogText("a\nb\r\nc\td"), "a\\nb\\r\\nc\\td");
  EXPECT_EQ(escapedLogText("a\u2028b\u2029c\u0085d"), "a\\u2028b\\u2029c\\u0085d");
}

TEST(LogTextTest, DrivesNoTerminal) {
  EXPECT_EQ(escapedLogText("\x1b[2J"), "\\x1b[2J");
  EXPECT_EQ(escapedLogText("\u009b2J"), "\\u009b2J");
  EXPECT_EQ(escapedLogText("\a\b\x7f"), "\\x07\\x08\\x7f");
  EXPECT_EQ(escapedLogText(std::string("a\0b", 3)), "a\\x00b");
  EXPECT_EQ(escapedLogText("a\u202eb\u2066c"), "a\\u202eb\\u2066c");
}

TEST(LogTextTest, WritesBytesThatAreNotUtf8AsEscapes) {
  EXPECT_EQ(escapedLogText("\xff"
                           "a"),
            "\\xffa");
  EXPECT_EQ(escapedLogText("a\xc3"), "a\\xc3");
  EXPECT_EQ(escapedLogText("\xc3"
                           "a"),
            "\\xc3"
            "a");
  EXPECT_EQ(escapedLogText("\x9b"
                           "2J"),
            "\\x9b"
            "2J");
  EXPECT_EQ(escapedLogText("\xc0\x8a"), "\\xc0\\x8a");                    // a line feed in too many bytes
  EXPECT_EQ(escapedLogText("\xed\xa0\x80"), "\\xed\\xa0\\x80");           // half a surrogate pair
  EXPECT_EQ(escapedLogText("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");  // beyond the last character
}

}  // namespace
}  // namespace vellora::hostkit
