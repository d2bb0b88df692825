#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

#include "apps/records-server/DataFiles.h"
#include "tests/apps/vellora/CommandFixture.h"

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

  /// The demo data, in which "Account" has that colour.
  DataSet withColourOfAccount(const std::string& color) const {
    const auto files = recordsserver::builtInDataFiles();
    const auto data = folder.path() / "data";
    std::filesystem::create_directory(data);
    writeFile(data / "objects.json", files.objects);
    writeFile(data / "themes.json", R"([{"name":"Account","colors":[{"color":")" + color +
                                        R"(","context":"primary","theme":"light"}],"icons":[]}])");
    writeFile(data / "list-views.json", files.listViews);
    writeFile(data / "search-layouts.json", files.searchLayouts);
    writeFile(data / "compact-layouts.json", files.compactLayouts);
    writeFile(data / "fields.json", files.fields);
    return DataSet::load(data).value();
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

TEST_F(TerminalTest, WhatIsNoColourOfSixDigitsHasNoSwatch) {
  const auto shownWith = [this](const std::string& color) {
    server = RecordsServer::start(withColourOfAccount(color)).value();
    std::filesystem::remove(cacheFile);
    return shownBy({"names", "Account"});
  };
  for (const std::string color : {"F00", "2F6FDE0", "2F6FDG", "red", "#", ""})
    EXPECT_THAT(shownWith(color), Not(HasSubstr("\x1b[48"))) << color;
  EXPECT_THAT(shownWith("#2F6FDE"), HasSubstr("\x1b[48;2;47;111;222m"));
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
