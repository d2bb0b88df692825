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

TEST(PrintableTest, ReplacesWhatATerminalWouldObey) {
  EXPECT_EQ(printable("a\x1b[31mb\r\n\tc\x7f"), "a\uFFFD[31mb\uFFFD\uFFFD\uFFFDc\uFFFD");
  EXPECT_EQ(printable("\xC2\x9B"
                      "31m"),
            "\uFFFD31m")
      << "the one-character form of the escape sequence";
  EXPECT_EQ(printable("bad \xff\xc3 end"), "bad \uFFFD\uFFFD end");
  EXPECT_EQ(printable(std::string("nul\0!", 5)), "nul\uFFFD!");
  EXPECT_EQ(printable("Überstunden 顧客 🙂"), "Überstunden 顧客 🙂");
}

TEST(DisplayWidthTest, CountsColumnsNotBytes) {
  EXPECT_EQ(displayWidth("abc"), 3U);
  EXPECT_EQ(displayWidth("顧客"), 4U);
  EXPECT_EQ(displayWidth("e\xCC\x81"), 1U);
}

}  // namespace
}  // namespace vellora::command
