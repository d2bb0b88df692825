#include "bench/fleet/Chart.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vellora::fleet {
namespace {

using testing::HasSubstr;
using testing::Not;

Chart chartOf(std::vector<double> minutes) {
  return {.title = "Requests",
          .unit = "per second",
          .fromHour = 1,
          .toHour = 2,
          .curves = {{"one", std::move(minutes)}}};
}

TEST(ChartTest, HasTitleUnitHoursAndTheNamesOfItsCurves) {
  const auto svg = chartOf(std::vector<double>(1440, 5)).svg();
  EXPECT_THAT(svg, testing::StartsWith("<svg xmlns="));
  EXPECT_THAT(svg, HasSubstr("Requests, per second"));
  EXPECT_THAT(svg, HasSubstr(">1:30<"));
  EXPECT_THAT(svg, HasSubstr(">one<"));
}

TEST(ChartTest, DrawsTheMinutesOfItsHoursAlone) {
  std::vector<double> minutes(1440);
  minutes[59] = 1e9;  // before the first hour
  minutes[60] = 10;
  const auto svg = chartOf(minutes).svg();
  EXPECT_THAT(svg, HasSubstr("<polyline points=\"86.3,62.0 "));  // the first minute is the highest
  EXPECT_THAT(svg, Not(HasSubstr(" G<")));
}

TEST(ChartTest, GivesEachPowerOfTenALineWhereItIsLogarithmic) {
  std::vector<double> minutes(1440, 20);
  minutes[70] = 3000;
  auto chart = chartOf(minutes);
  chart.isLogarithmic = true;
  const auto svg = chart.svg();
  for (const std::string level : {"10", "100", "1 k", "10 k"}) EXPECT_THAT(svg, HasSubstr(">" + level + "<"));
  EXPECT_THAT(svg, Not(HasSubstr(">100 k<")));
}

TEST(ChartTest, HasNoMoreThanFourPowersOfTen) {
  std::vector<double> minutes(1440, 1e6);
  minutes[70] = 1;
  auto chart = chartOf(minutes);
  chart.isLogarithmic = true;
  EXPECT_THAT(chart.svg(), HasSubstr(">100<"));
  EXPECT_THAT(chart.svg(), Not(HasSubstr(">10<")));
}

TEST(ChartTest, DrawsTheMeanOfSeveralMinutesWhereItIsToldSo) {
  std::vector<double> minutes(1440);
  minutes[60] = 20;  // the mean of ten minutes is 2
  auto chart = chartOf(minutes);
  chart.minutesOfPoint = 10;
  const auto svg = chart.svg();
  EXPECT_THAT(svg, HasSubstr(">2<"));
  EXPECT_THAT(svg, Not(HasSubstr(">3<")));
  EXPECT_THAT(svg, HasSubstr("<polyline points=\"143.3,62.0 "));  // five minutes behind the hour
}

TEST(ChartTest, DrawsCurvesThatAreNothing) {
  EXPECT_THAT(chartOf(std::vector<double>(1440, 0)).svg(), Not(HasSubstr("nan")));
}

TEST(ChartTest, TellsItsCurvesApartByDashesOrThickness) {
  auto chart = chartOf(std::vector<double>(1440, 5));
  chart.curves = std::vector<Chart::Curve>(4, chart.curves[0]);
  const auto svg = chart.svg();
  for (const std::string look :
       {"\"none\" stroke-width=\"1.4\"", "\"8 3\"", "\"2 2\"", "\"none\" stroke-width=\"3.0\""})
    EXPECT_THAT(svg, HasSubstr("stroke-dasharray=" + look));
}

}  // namespace
}  // namespace vellora::fleet
