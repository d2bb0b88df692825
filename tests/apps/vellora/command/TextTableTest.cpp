#include "apps/vellora/command/TextTable.h"

#include <gtest/gtest.h>

namespace vellora::command {
namespace {

TEST(TextTableTest, LinesUpCellsOfEveryScript) {
  TextTable table({"NAME", "LABEL"});
  table.addRow({"取引先", "顧客"});
  table.addRow({"Über", "x"});
  table.addRow({"e\xCC\x81", "combining"});
  EXPECT_EQ(table.text("  "),
            "  NAME    LABEL\n"
            "  取引先  顧客\n"
            "  Über    x\n"
            "  e\xCC\x81       combining\n");
}

TEST(TextTableTest, AnEmptyCellAtTheEndLeavesNoBlanks) {
  TextTable table({"A", "B"});
  table.addRow({"x", ""});
  EXPECT_EQ(table.text(""), "A  B\nx\n");
}

TEST(TextTableTest, CutsACellThatWouldWidenEveryRow) {
  TextTable table({"NAME", "LABEL"});
  table.addRow({"x", std::string(1'000'000, 'l')});
  table.addRow({"y", std::string(TextTable::mostColumns, 'l')});
  EXPECT_EQ(table.text(""), "NAME  LABEL\nx     " + std::string(TextTable::mostColumns - 1, 'l') +
                                "…\ny     " + std::string(TextTable::mostColumns, 'l') + "\n");
}

TEST(FittedTest, CutsByColumnsAndAfterAWholeCharacter) {
  EXPECT_EQ(fitted("abcdef", 6), "abcdef");
  EXPECT_EQ(fitted("abcdefg", 6), "abcde…");
  EXPECT_EQ(fitted("顧客顧客", 8), "顧客顧客");
  EXPECT_EQ(fitted("顧客顧客", 7), "顧客顧…");
  EXPECT_EQ(fitted("顧客顧客", 6), "顧客…");
  EXPECT_EQ(fitted("ab\u202e", 8), "ab\\u202e");
  EXPECT_EQ(fitted("ab\u202e", 7), "ab…") << "an escape is not cut in two";
  EXPECT_EQ(fitted("", 1), "");
  EXPECT_EQ(fitted("ab", 1), "…");
}

TEST(FittedTest, CutsWhatHasNoWidth) {
  std::string marks = "e";
  for (int i = 0; i < 500'000; ++i) marks += "\u0301";
  const auto shown = fitted(marks, 10);
  EXPECT_LT(shown.size(), 200U);
  EXPECT_TRUE(shown.ends_with("…"));
}

TEST(PrintableTest, EscapesWhatATerminalWouldObey) {
  EXPECT_EQ(printable("a\x1b[31mb\r\n\tc\x7f"), "a\\x1b[31mb\\r\\n\\tc\\x7f");
  EXPECT_EQ(printable("\xC2\x9B"
                      "31m"),
            "\\u009b31m")
      << "the one-character form of the escape sequence";
  EXPECT_EQ(printable("bad \xff\xc3 end"), "bad \\xff\\xc3 end");
  EXPECT_EQ(printable(std::string("nul\0!", 5)), "nul\\x00!");
  EXPECT_EQ(printable("\u202eright to left\u2066\u200f\u061c"), "\\u202eright to left\\u2066\\u200f\\u061c");
  EXPECT_EQ(printable("\uFFFE!"), "\uFFFD!") << "no terminal has a sign for it";
  EXPECT_EQ(printable("Überstunden 顧客 🙂"), "Überstunden 顧客 🙂");
}

TEST(DisplayWidthTest, CountsColumnsNotBytes) {
  EXPECT_EQ(displayWidth("abc"), 3U);
  EXPECT_EQ(displayWidth("顧客"), 4U);
  EXPECT_EQ(displayWidth("e\xCC\x81"), 1U);
}

}  // namespace
}  // namespace vellora::command
