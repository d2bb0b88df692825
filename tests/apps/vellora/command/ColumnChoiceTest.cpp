#include "apps/vellora/command/ColumnChoice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <variant>
#include <vector>

namespace vellora::command {
namespace {

using testing::ElementsAre;
using Shown = Column::Shown;

class ColumnChoiceTest : public testing::Test {
 protected:
  [[nodiscard]] std::vector<std::size_t> chosen() const {
    return std::get<0>(chosenColumns(columns, output));
  }

  const std::vector<Column> columns{{"key", "KEY", Shown::scripts},
                                    {"label", "LABEL"},
                                    {"svgIconUrl", "VECTOR ICON", Shown::wide},
                                    {"apiName", "API NAME"}};
  OutputArguments output;
};

TEST_F(ColumnChoiceTest, ATableIsNarrowUnlessItMayBeWide) {
  EXPECT_THAT(chosen(), ElementsAre(1, 3));
  output.wide = true;
  EXPECT_THAT(chosen(), ElementsAre(1, 2, 3));
}

TEST_F(ColumnChoiceTest, ScriptsGetAllColumns) {
  for (const auto format : {Format::csv, Format::tsv, Format::jsonl}) {
    output.format = format;
    EXPECT_THAT(chosen(), ElementsAre(0, 1, 2, 3));
  }
}

TEST_F(ColumnChoiceTest, ThoseThatAreNamedStandInThatOrder) {
  output.columns = {"apiName", "KEY", "label", "label"};
  EXPECT_THAT(chosen(), ElementsAre(3, 0, 1, 1));
}

TEST_F(ColumnChoiceTest, AColumnThatThereIsNoneOfNamesTheNearestAndAll) {
  output.columns = {"lable"};
  const auto problem = std::get<Problem>(chosenColumns(columns, output));
  EXPECT_EQ(problem.exit, ExitCode::usage);
  EXPECT_EQ(problem.message,
            "there is no column lable; did you mean label?; there are key, label, svgIconUrl, apiName");
}

}  // namespace
}  // namespace vellora::command
