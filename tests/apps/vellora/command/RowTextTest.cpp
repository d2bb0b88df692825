#include "apps/vellora/command/RowText.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>

namespace vellora::command {
namespace {

const Rows people{{{"name", "NAME"}, {"isTall", "TALL"}, {"count", "COUNT"}, {"size", "SIZE"}},
                  {{"", {{{"Ann", true, std::int64_t{3}, 0.5}}, {{"Bob", false, Value(), Value()}}}}}};

Rows withText(const std::string& text) {
  return {{{"a", "A"}, {"b", "B"}}, {{"", {{{text, "x"}}}}}};
}

std::string table(const Rows& rows, std::optional<std::size_t> most = std::nullopt) {
  return tableText(rows, {0, 1}, Style::ofOutput(Coloring::never), most);
}

TEST(RowTextTest, ATableSaysYesAndNoAndNothingOfWhatIsAbsent) {
  EXPECT_EQ(tableText(people, {0, 1, 2, 3}, Style::ofOutput(Coloring::never), std::nullopt),
            "NAME  TALL  COUNT  SIZE\n"
            "Ann   yes   3      0.5\n"
            "Bob   no\n");
}

TEST(RowTextTest, CsvHasAHeadingAndQuotesWhatNeedsIt) {
  EXPECT_EQ(scriptText(people, {0, 1, 2, 3}, Format::csv),
            "name,isTall,count,size\nAnn,true,3,0.5\nBob,false,,\n");
  EXPECT_EQ(scriptText(withText("a,\"b\""), {0, 1}, Format::csv), "a,b\n\"a,\"\"b\"\"\",x\n");
  EXPECT_EQ(scriptText(withText("b\"c"), {0, 1}, Format::csv), "a,b\n\"b\"\"c\",x\n");
  EXPECT_EQ(scriptText(withText(" a"), {0, 1}, Format::csv), "a,b\n\" a\",x\n");
  EXPECT_EQ(scriptText(withText(""), {0, 1}, Format::csv), "a,b\n,x\n") << "an empty value has its comma";
}

TEST(RowTextTest, TsvHasTabsBetweenValues) {
  EXPECT_EQ(scriptText(people, {1, 0}, Format::tsv), "isTall\tname\ntrue\tAnn\nfalse\tBob\n");
  EXPECT_EQ(scriptText(withText("a,\"b\""), {0, 1}, Format::tsv), "a\tb\na,\"b\"\tx\n");
}

TEST(RowTextTest, EachRowIsOneLineWhateverStandsInIt) {
  EXPECT_EQ(scriptText(withText("a\nb\tc\x1b[31m"), {0, 1}, Format::csv), "a,b\na\\nb\\tc\\x1b[31m,x\n");
  EXPECT_EQ(scriptText(withText("a\nb\tc"), {0, 1}, Format::tsv), "a\tb\na\\nb\\tc\tx\n");
  EXPECT_EQ(scriptText(withText("a\nb\u202e"), {0, 1}, Format::jsonl),
            "{\"a\":\"a\\nb\\u202e\",\"b\":\"x\"}\n");
}

TEST(RowTextTest, JsonLinesLeaveOutWhatIsAbsent) {
  EXPECT_EQ(scriptText(people, {0, 1, 2, 3}, Format::jsonl),
            "{\"name\":\"Ann\",\"isTall\":true,\"count\":3,\"size\":0.5}\n"
            "{\"name\":\"Bob\",\"isTall\":false}\n");
  EXPECT_EQ(scriptText(people, {2}, Format::jsonl), "{\"count\":3}\n{}\n");
}

TEST(RowTextTest, GroupsHaveHeadingsAndTellThatTheyAreEmpty) {
  const Rows rows{{{"a", "A"}, {"b", "B"}}, {{"One", {{{"x", "y"}}}}, {"Two", {}}}, true, "no fields"};
  EXPECT_EQ(table(rows), "One\n  A  B\n  x  y\nTwo\n  no fields\n");
  EXPECT_EQ(scriptText(rows, {0, 1}, Format::csv), "a,b\nx,y\n");
}

TEST(RowTextTest, PartsStandBelowTheWholeFurtherIn) {
  const Rows rows{{{"a", "A"}, {"b", "B"}}, {{"", {{{"whole", "w"}}, {{"part", "p"}, 1}}}}};
  EXPECT_EQ(table(rows), "A       B\nwhole   w\n  part    p\n");
  EXPECT_EQ(scriptText(rows, {0}, Format::tsv), "a\nwhole\npart\n");
}

TEST(RowTextTest, ATableIsCutToTheTerminalAtItsWidestColumn) {
  EXPECT_EQ(table(withText(std::string(40, 'a')), 20),
            "A                  B\n" + std::string(16, 'a') + "…  x\n");
  EXPECT_EQ(table(withText(std::string(40, 'a')), 80), table(withText(std::string(40, 'a'))));
}

TEST(RowTextTest, WithoutRowsThereIsNoTableAndOnlyTheHeadingOfCsv) {
  const Rows rows{{{"a", "A"}, {"b", "B"}}, {}};
  EXPECT_EQ(table(rows), "");
  EXPECT_EQ(scriptText(rows, {0, 1}, Format::csv), "a,b\n");
  EXPECT_EQ(scriptText(rows, {0, 1}, Format::jsonl), "");
}

}  // namespace
}  // namespace vellora::command
