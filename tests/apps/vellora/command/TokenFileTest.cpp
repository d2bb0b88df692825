#include "apps/vellora/command/TokenFile.h"

#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <string>
#include <variant>

#include "tests/support/TemporaryFolder.h"

namespace vellora::command {
namespace {

class TokenFileTest : public testing::Test {
 protected:
  [[nodiscard]] std::optional<std::string> tokenIn(const std::string& content) const {
    const std::string file = folder.file("token");
    std::ofstream(file, std::ios::binary) << content;
    const auto read = readToken(file);
    const auto* token = std::get_if<0>(&read);
    return token != nullptr ? *token : "a problem: " + std::get<Problem>(read).message;
  }

  const tests::TemporaryFolder folder;
};

TEST_F(TokenFileTest, IsTheTokenWithoutTheLineEndBehindIt) {
  EXPECT_EQ(tokenIn("abc"), "abc");
  EXPECT_EQ(tokenIn("abc\r\n"), "abc");
  EXPECT_EQ(tokenIn("abc\n\n"), "abc");
}

TEST_F(TokenFileTest, WithoutAFileThereIsNoToken) {
  const auto read = readToken(std::nullopt);
  ASSERT_TRUE(std::holds_alternative<std::optional<std::string>>(read));
  EXPECT_EQ(std::get<0>(read), std::nullopt);
}

TEST_F(TokenFileTest, AFileWithoutATokenIsAProblem) {
  EXPECT_EQ(tokenIn("\n"), "a problem: there is no token in " + folder.file("token"));
}

TEST_F(TokenFileTest, APasswordIsReadLikeATokenAndSpokenOfAsOne) {
  const std::string file = folder.file("password");
  std::ofstream(file, std::ios::binary) << "open sesame\n";
  EXPECT_EQ(std::get<0>(readPassword(file, "")), "open sesame");
  EXPECT_EQ(std::get<0>(readPassword(std::nullopt, "")), std::nullopt);
  std::ofstream(file, std::ios::binary) << "\n";
  EXPECT_EQ(std::get<Problem>(readPassword(file, "")).message, "there is no password in " + file);
  EXPECT_EQ(std::get<Problem>(readPassword(folder.file("absent"), "")).message,
            "cannot read the password file " + folder.file("absent"));
}

TEST_F(TokenFileTest, APasswordFileOfTheConfigurationIsNamedByItsPlace) {
  EXPECT_EQ(std::get<Problem>(readPassword(folder.file("absent"), "config.toml:7")).message,
            "cannot read the password file that config.toml:7 names");
}

}  // namespace
}  // namespace vellora::command
