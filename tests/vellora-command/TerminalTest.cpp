#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

#include "tests/vellora-command/CommandFixture.h"

// What the command shows to somebody who sits at a terminal, which `script` plays here.

namespace vellora::command {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// A bare system, such as one without /dev/pts, cannot play a terminal.
bool systemHasTerminals() {
  const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
  if (terminal >= 0) ::close(terminal);
  return terminal >= 0;
}

class TerminalTest : public CommandFixture {
 protected:
  void SetUp() override {
    if (!systemHasTerminals()) GTEST_SKIP() << "this system has no pseudo-terminals";
    CommandFixture::SetUp();
  }

  TerminalTest() { options.environment["TERM"] = "xterm-256color"; }

  /// What stands on the terminal in the end: standard output and standard error as they came.
  std::string shownBy(const std::vector<std::string>& arguments, int exitCode = 0) const {
    std::string line = VELLORA;
    for (const auto& word : withServer(arguments)) line.append(" ").append(word);
    const auto ended = ChildProcess::run("/usr/bin/script", {"-qec", line, "/dev/null"}, options);
    EXPECT_EQ(ended.exitCode, exitCode) << ended.err;
    return ended.out;
  }
};

TEST_F(TerminalTest, StatusShowsTheStatesAsTheyChange) {
  EXPECT_THAT(shownBy({"status"}), HasSubstr("vellora: loaded\r\nSTATE         loaded\r\n"));
  server->setFault(RecordsServer::everything, Fault::never());
  EXPECT_THAT(shownBy({"--cache-timeout", "0", "--wait", "0.3", "status"}, 5),
              StartsWith("vellora: isLoading\r\nSTATE         isLoading\r\n"));
}

TEST_F(TerminalTest, ColoursHaveASwatchAndColumnsStayInLine) {
  const auto shown = shownBy({"names", "Account"});
  EXPECT_THAT(shown, StartsWith("KEY      LABEL    PLURAL    API NAME  COLOUR     CREATEABLE"));
  EXPECT_THAT(
      shown,
      HasSubstr("\nAccount  Account  Accounts  Account   \x1b[48;2;47;111;222m  \x1b[0m 2F6FDE  yes "));
}

TEST_F(TerminalTest, HeadingsAreBold) {
  EXPECT_THAT(shownBy({"search-layouts", "Account"}), StartsWith("\x1b[1mAccount\x1b[0m\r\n"));
  EXPECT_THAT(shownBy({"compact-layouts", "Account"}), StartsWith("\x1b[1mAccount\x1b[0m\r\n"));
}

TEST_F(TerminalTest, WhoWantsNoColoursGetsNone) {
  const auto plain = [this](const std::vector<std::string>& arguments) {
    EXPECT_THAT(shownBy(arguments), Not(HasSubstr("\x1b")));
  };
  plain({"--no-color", "names", "Account"});
  plain({"--json", "names", "Account"});
  options.environment["NO_COLOR"] = "1";
  plain({"names", "Account"});
  options.environment["NO_COLOR"] = "";
  EXPECT_THAT(shownBy({"names", "Account"}), HasSubstr("\x1b")) << "an empty NO_COLOR says nothing";
  options.environment["TERM"] = "dumb";
  plain({"names", "Account"});
}

}  // namespace
}  // namespace vellora::command
