#include "apps/vellora/command/Token.h"

#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <string>
#include <variant>

#include "tests/support/TemporaryFolder.h"

namespace vellora::command {
namespace {

std::string messageOf(const Arguments& arguments) {
  const auto token = tokenOf(arguments);
  const auto* problem = std::get_if<Problem>(&token);
  return problem != nullptr ? problem->message : "no problem";
}

TEST(TokenTest, WithoutAFileOrACommandThereIsNone) {
  EXPECT_EQ(std::get<0>(tokenOf({})), std::nullopt);
}

TEST(TokenTest, IsWhatTheFileHoldsOrTheCommandPrints) {
  const tests::TemporaryFolder folder;
  std::ofstream(folder.file("token")) << "abc\n";
  Arguments arguments;
  arguments.tokenFile = folder.file("token");
  EXPECT_EQ(std::get<0>(tokenOf(arguments)), "abc");
  arguments.tokenCommand = {"printf", "def"};
  EXPECT_EQ(std::get<0>(tokenOf(arguments)), "def");
}

TEST(TokenTest, AFileThatTheConfigurationNamesIsToldByItsPlaceAlone) {
  Arguments arguments;
  arguments.tokenFile = "/absent/secret";
  EXPECT_EQ(messageOf(arguments), "cannot read the token file /absent/secret");
  arguments.tokenPlace = "config.toml:3";
  EXPECT_EQ(messageOf(arguments), "cannot read the token file that config.toml:3 names");
}

}  // namespace
}  // namespace vellora::command
