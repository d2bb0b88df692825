#include "bench/fleet/Costs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "tests/support/TemporaryFolder.h"

namespace vellora::fleet {
namespace {

const std::string wholeFile = R"(
[types]
request_bytes = 1
answer_bytes = 2
processor_seconds = 0.5
[types_packed]
request_bytes = 1
answer_bytes = 11
processor_seconds = 3
[themes_packed]
request_bytes = 5
answer_bytes = 12
processor_seconds = 4
[types_unchanged]
request_bytes = 3
answer_bytes = 4
processor_seconds = 0.25
[themes]
request_bytes = 5
answer_bytes = 6
processor_seconds = 1e-3
[themes_unchanged]
request_bytes = 7
answer_bytes = 8
processor_seconds = 0
[refused]
request_bytes = 9
answer_bytes = 10
processor_seconds = 2
)";

Result<Costs> costsFrom(const std::string& text) {
  const tests::TemporaryFolder folder;
  std::ofstream(folder.file("costs.toml")) << text;
  return Costs::read(folder.file("costs.toml"));
}

std::string problemWith(const std::string& text) {
  const auto costs = costsFrom(text);
  return costs ? "" : costs.error().localizedDescription();
}

TEST(CostsTest, AreReadFromAFile) {
  const auto costs = costsFrom(wholeFile);
  ASSERT_TRUE(costs);
  EXPECT_EQ(costs.value().lists[0].requestBytes, 1);
  EXPECT_EQ(costs.value().lists[0].processor, 0.5);
  EXPECT_EQ(costs.value().lists[1].answerBytes, 6);
  EXPECT_EQ(costs.value().packed[0].answerBytes, 11);
  EXPECT_EQ(costs.value().packed[1].processor, 4);
  EXPECT_EQ(costs.value().unchanged[0].answerBytes, 4);
  EXPECT_EQ(costs.value().unchanged[1].requestBytes, 7);
  EXPECT_EQ(costs.value().refused.processor, 2);
}

TEST(CostsTest, NameTheFirstNumberThatIsMissing) {
  auto text = wholeFile;
  text.erase(text.find("answer_bytes = 6\n"), 17);
  EXPECT_THAT(problemWith(text), testing::EndsWith("costs.toml: themes.answer_bytes is no number from 0"));
}

TEST(CostsTest, TakeNoNegativeNumberAndNoText) {
  auto text = wholeFile;
  text.replace(text.find("= 9"), 3, "= -9");
  EXPECT_THAT(problemWith(text), testing::EndsWith("refused.request_bytes is no number from 0"));
  text.replace(text.find("= -9"), 4, "= \"\"");
  EXPECT_THAT(problemWith(text), testing::EndsWith("refused.request_bytes is no number from 0"));
}

TEST(CostsTest, SayWhyAFileCannotBeRead) {
  EXPECT_NE(problemWith("[types"), "");
  EXPECT_FALSE(Costs::read("/nowhere/costs.toml"));
}

TEST(CostsTest, OfTheTreeAreWhole) {
  const auto costs = Costs::read(FLEET_COSTS);
  ASSERT_TRUE(costs) << costs.error().localizedDescription();
  EXPECT_GT(costs.value().lists[0].answerBytes, 1e6);
  EXPECT_GT(costs.value().lists[1].processor, costs.value().unchanged[1].processor);
}

}  // namespace
}  // namespace vellora::fleet
