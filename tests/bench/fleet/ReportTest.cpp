#include "bench/fleet/Report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace vellora::fleet {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr Cost reportCost{100, 1000, 0.01};
const Costs reportCosts{{reportCost, reportCost},
                        {reportCost, reportCost},
                        {Cost{100, 10, 0.001}, Cost{100, 10, 0.001}},
                        {100, 20, 0.001}};

TEST(ReportTest, SaysWhatEachRequestCosts) {
  EXPECT_THAT(costTable(reportCosts), HasSubstr("| the object types | 100 | 1 k | 10 k µs |"));
  EXPECT_THAT(costTable(reportCosts), HasSubstr("| a refusal | 100 | 20 | 1 k µs |"));
}

TEST(ReportTest, SaysWhatComesBackAWeekAfterARelease) {
  std::ostringstream progress;
  Study study(reportCosts, 1, progress, 100);
  const auto text = weekTable(study);
  EXPECT_THAT(text,
              testing::AllOf(HasSubstr("\n| 1 hour | ordinary | "), HasSubstr("\n| 1 hour | release | "),
                             HasSubstr("\n| 1 day | a week later | ")));
}

TEST(ReportTest, SaysWhatALimitedServerRefusesAndDrawsThePicturesOfTheDocument) {
  std::ostringstream progress;
  Study study(reportCosts, 1, progress, 100);
  const auto text = limitTable(study);
  for (const auto& manners : Study::allManners())
    EXPECT_THAT(text, testing::AllOf(HasSubstr("\n| release | " + manners + " | "),
                                     HasSubstr("\n| outage | " + manners + " | ")));
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
