#include "apps/vellora/config/TokenCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>
#include <variant>
#include <vector>

#include "tests/support/TemporaryFolder.h"

namespace vellora::command {
namespace {

using std::chrono::duration;
using testing::StartsWith;

constexpr duration<double> ages{600};
constexpr std::size_t longestToken = 20;

std::string printedBy(const std::vector<std::string>& words, duration<double> atMost = ages) {
  const auto printed = tokenPrintedBy(words, atMost, longestToken);
  const auto* failure = std::get_if<TokenCommandFailure>(&printed);
  return failure != nullptr ? "failed: " + failure->reason : std::get<std::string>(printed);
}

TEST(TokenCommandTest, GivesTheLineThatTheProgramPrints) {
  EXPECT_EQ(printedBy({"printf", "abc\\r\\n"}), "abc");
  EXPECT_EQ(printedBy({"printf", "abc"}), "abc");
  EXPECT_EQ(printedBy({"printf", std::string(longestToken, 'x')}), std::string(longestToken, 'x'));
}

TEST(TokenCommandTest, NoShellReadsTheWords) {
  const tests::TemporaryFolder folder;
  EXPECT_EQ(printedBy({"printf", "%s", "$HOME;`id`"}), "$HOME;`id`");
  EXPECT_EQ(printedBy({"printf", "%s", "a  *"}), "a  *");
  // What the system cannot run is not handed to a shell either.
  const std::string script = folder.file("script");
  std::ofstream(script) << "echo abc\n";
  std::filesystem::permissions(script, std::filesystem::perms::owner_all);
  EXPECT_THAT(printedBy({script}), StartsWith("failed: cannot be run: "));
}

TEST(TokenCommandTest, TheProgramReadsNothing) {
  EXPECT_EQ(printedBy({"cat"}), "failed: printed nothing");
}

TEST(TokenCommandTest, AProgramThatFailsGivesNoTokenThoughItPrintsOne) {
  EXPECT_EQ(printedBy({"sh", "-c", "echo abc; exit 3"}), "failed: ended with exit code 3");
  EXPECT_EQ(printedBy({"sh", "-c", "echo abc; kill -KILL $$"}), "failed: was ended by a signal: Killed");
  EXPECT_EQ(printedBy({"/no/such/program"}), "failed: cannot be run: No such file or directory");
}

TEST(TokenCommandTest, WhatIsNoTokenIsNotRepeated) {
  EXPECT_EQ(printedBy({"printf", "secret\\nlogin: me\\n"}), "failed: printed more than one line");
  EXPECT_EQ(printedBy({"printf", std::string(longestToken + 1, 'x')}),
            "failed: printed more than 20 characters");
  EXPECT_EQ(printedBy({"yes"}), "failed: printed more than 20 characters");
}

TEST(TokenCommandTest, AProgramThatDoesNotEndIsKilled) {
  const tests::TemporaryFolder folder;
  const std::string pid = folder.file("pid");
  EXPECT_EQ(printedBy({"sh", "-c", "echo $$ > \"$0\"; exec tail -f /dev/null", pid}, duration<double>(0.3)),
            "failed: did not end within 0.3 s");
  long process = 0;
  if (std::ifstream(pid) >> process) {
    EXPECT_EQ(::kill(static_cast<pid_t>(process), 0), -1);
  }
}

TEST(TokenCommandTest, AProgramThatClosesItsOutputAndGoesOnIsKilled) {
  EXPECT_EQ(printedBy({"sh", "-c", "echo abc; exec >&-; exec sleep 1000000"}, duration<double>(0.2)),
            "failed: did not end within 0.2 s");
}

TEST(TokenCommandTest, AChildThatItLeavesBehindHoldsNothingUp) {
  const tests::TemporaryFolder folder;
  const std::string pid = folder.file("pid");
  EXPECT_EQ(printedBy({"sh", "-c", "sleep 1000000 & echo $! > \"$0\"; echo abc", pid}, duration<double>(60)),
            "abc");
  long child = 0;
  ASSERT_TRUE(std::ifstream(pid) >> child);
  ::kill(static_cast<pid_t>(child), SIGKILL);
}

TEST(TokenCommandTest, AProgramMayWriteToAPipeThatNobodyReads) {
  // It gets the signal that ends it then, which the command itself ignores.
  struct sigaction ignore {};
  struct sigaction before {};
  ignore.sa_handler = SIG_IGN;
  ::sigaction(SIGPIPE, &ignore, &before);
  EXPECT_EQ(printedBy({"sh", "-c", "trap - PIPE; kill -PIPE $$; echo abc"}),
            "failed: was ended by a signal: Broken pipe");
  ::sigaction(SIGPIPE, &before, nullptr);
}

}  // namespace
}  // namespace vellora::command
