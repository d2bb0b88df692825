#include "bench/fleet/Report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace vellora::fleet {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr Cost listCost{100, 1000, 0.01};
const Costs reportCosts{{listCost, listCost}, {Cost{100, 10, 0.001}, Cost{100, 10, 0.001}}, {100, 20, 0.001}};

TEST(ReportTest, HasATableForEachQuestionAndThePicturesOfTheDocument) {
  std::ostringstream progress;
  Study study(reportCosts, 1, progress, 100);
  const auto text = tables(study);
  EXPECT_THAT(text, HasSubstr("| the object types | 100 | 1 k | 10 k µs |"));
  EXPECT_THAT(text, HasSubstr("\n| 10 M | outage | "));
  EXPECT_THAT(text, HasSubstr("\n| 1 day | all four | release | "));
  EXPECT_THAT(text, HasSubstr("\n| outage | backing off | "));
  EXPECT_THAT(text, HasSubstr("\n| ordinary | 10 | "));

  std::string files;
  for (const auto& [name, svg] : pictures(study)) {
    files += name + ' ';
    EXPECT_THAT(svg, testing::EndsWith("</svg>\n"));
    EXPECT_THAT(svg, Not(HasSubstr("nan")));
    EXPECT_THAT(svg, Not(HasSubstr("inf")));
  }
  EXPECT_EQ(files, "ordinary.svg processors.svg bytes.svg release.svg outage.svg return.svg ");
}

}  // namespace
}  // namespace vellora::fleet
