#include "apps/vellora/command/UsageError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vellora::command {
namespace {

using testing::Not;

const std::vector<std::string> someOptions{"--server", "--token-file", "--theme", "--wait"};

std::string errorOf(std::vector<std::string> unknown) {
  return usageError({.unknown = std::move(unknown),
                     .path = {},
                     .commands = {"ids", "names", "status", "cache"},
                     .options = someOptions,
                     .complaint = "A subcommand is required"});
}

std::string errorBehindCache(std::vector<std::string> unknown) {
  return usageError({.unknown = std::move(unknown),
                     .path = {"cache"},
                     .commands = {"ls", "show", "purge"},
                     .options = someOptions,
                     .complaint = {}});
}

TEST(UsageErrorTest, NamesTheNearestCommand) {
  EXPECT_EQ(errorOf({"name"}), "there is no command name; did you mean names?");
  EXPECT_EQ(errorBehindCache({"list"}), "there is no command cache list; did you mean cache ls?");
  EXPECT_EQ(errorOf({"frobnicate", "A"}), "there is no command frobnicate");
}

TEST(UsageErrorTest, NamesTheNearestOption) {
  EXPECT_EQ(errorOf({"--severs", "x"}), "there is no option --severs; did you mean --server?");
  EXPECT_EQ(errorOf({"--colour"}), "there is no option --colour");
  EXPECT_EQ(errorOf({"-x"}), "there is no option -x");
}

TEST(UsageErrorTest, ATokenOnTheCommandLineBelongsIntoAFileAndIsNotRepeated) {
  const std::string advice =
      "there is no option --token; put the token into a file, and give --token-file FILE";
  EXPECT_EQ(errorOf({"--token", "secret"}), advice);
  EXPECT_EQ(errorOf({"--token=secret"}), advice);
}

TEST(UsageErrorTest, RepeatsNoWordThatMayBeASecret) {
  for (const std::string word : {"--tokenS3cret", "-tS3cret", "S3cret", "00D5e!S3cret",
                                 "--a-very-long-word-that-nobody-would-call-an-option-S3cret"}) {
    EXPECT_THAT(errorOf({word}), Not(testing::HasSubstr("S3cret")));
    EXPECT_THAT(errorBehindCache({word}), Not(testing::HasSubstr("S3cret")));
  }
}

TEST(UsageErrorTest, NamesTheCommandsWhereNoneIsGiven) {
  EXPECT_EQ(errorBehindCache({}), "a command is missing behind cache: ls, show, purge");
}

TEST(UsageErrorTest, AWordTooManyIsNotRepeated) {
  EXPECT_EQ(
      usageError(
          {.unknown = {"secret"}, .path = {"cache", "ls"}, .commands = {}, .options = {}, .complaint = {}}),
      "there is a word too many before or behind cache ls");
}

TEST(UsageErrorTest, TheParsersOwnComplaintIsTakenWhereEveryWordIsKnown) {
  EXPECT_EQ(
      usageError(
          {.unknown = {}, .path = {"names"}, .commands = {}, .options = {}, .complaint = "NAME is required"}),
      "NAME is required");
  EXPECT_EQ(usageError({}), "the command line cannot be understood");
}

}  // namespace
}  // namespace vellora::command
