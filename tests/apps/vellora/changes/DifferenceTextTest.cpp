#include "apps/vellora/changes/DifferenceText.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace vellora::command {
namespace {

class DifferenceTextTest : public testing::Test {
 protected:
  [[nodiscard]] static std::string textOf(const std::vector<Difference>& differences,
                                          std::optional<Format> format,
                                          const std::vector<std::size_t>& chosen = {0, 1, 2, 3, 4, 5}) {
    OutputArguments output;
    output.format = format;
    return differenceText(differences, chosen, output);
  }

  const std::vector<Difference> differences{
      {"type", "A", "changed", {{"label", "A", "B, C"}, {"colour", std::nullopt, "F00"}}},
      {"search layout", "A", "added", {}}};
};

TEST_F(DifferenceTextTest, TheTableHasALineForEachProperty) {
  EXPECT_EQ(textOf(differences, std::nullopt),
            "CHANGE   WHAT           NAME  PROPERTY  BEFORE  AFTER\n"
            "changed  type           A     label     A       B, C\n"
            "changed  type           A     colour    -       F00\n"
            "added    search layout  A\n");
}

TEST_F(DifferenceTextTest, ScriptsFindNothingWhereNothingIs) {
  EXPECT_EQ(textOf(differences, Format::csv),
            "change,what,name,property,before,after\n"
            "changed,type,A,label,A,\"B, C\"\n"
            "changed,type,A,colour,,F00\n"
            "added,search layout,A,,,\n");
  EXPECT_EQ(textOf(differences, Format::tsv),
            "change\twhat\tname\tproperty\tbefore\tafter\n"
            "changed\ttype\tA\tlabel\tA\tB, C\n"
            "changed\ttype\tA\tcolour\t\tF00\n"
            "added\tsearch layout\tA\t\t\t\n");
  EXPECT_EQ(textOf(differences, Format::jsonl),
            R"({"change":"changed","what":"type","name":"A","property":"label","before":"A","after":"B, C"})"
            "\n"
            R"({"change":"changed","what":"type","name":"A","property":"colour","after":"F00"})"
            "\n"
            R"({"change":"added","what":"search layout","name":"A"})"
            "\n");
}

TEST_F(DifferenceTextTest, TheColumnsAreThoseThatWereChosen) {
  EXPECT_EQ(textOf(differences, Format::csv, {2, 0}), "name,change\nA,changed\nA,changed\nA,added\n");
}

TEST_F(DifferenceTextTest, WithoutDifferencesATableIsNoText) {
  EXPECT_EQ(textOf({}, std::nullopt), "");
  EXPECT_EQ(textOf({}, Format::csv), "change,what,name,property,before,after\n");
}

}  // namespace
}  // namespace vellora::command
