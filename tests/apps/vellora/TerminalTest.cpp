#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <string>

#include "apps/records-server/DataFiles.h"
#include "apps/vellora/command/TextTable.h"
#include "tests/apps/vellora/CommandFixture.h"

// What the command shows to somebody who sits at a terminal, which `script` plays here.

namespace vellora::command {
namespace {

using testing::ContainsRegex;
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
    auto files = recordsserver::builtInDataFiles();
    files.themes = R"([{"name":"Account","colors":[{"color":")" + color +
                   R"(","context":"primary","theme":"light"}],"icons":[]}])";
    return loaded(files);
  }

  DataSet loaded(const recordsserver::DataFiles& files) const {
    const auto data = folder.path() / "data";
    std::filesystem::create_directory(data);
    writeFile(data / "objects.json", files.objects);
    writeFile(data / "themes.json", files.themes);
    writeFile(data / "list-views.json", files.listViews);
    writeFile(data / "search-layouts.json", files.searchLayouts);
    writeFile(data / "compact-layouts.json", files.compactLayouts);
    writeFile(data / "fields.json", files.fields);
    return DataSet::load(data).value();
  }
};

TEST_F(TerminalTest, StatusShowsTheStatesAsTheyChange) {
  const std::string waiting = "(\r\x1b\\[K[^\r]*)*";  // a busy machine may show that it waits
  EXPECT_THAT(shownBy({"status"}),
              ContainsRegex("vellora: loaded\r\n" + waiting + "STATE         loaded\r\n"));
  server->setFault(RecordsServer::everything, Fault::never());
  EXPECT_THAT(shownBy({"--cache-timeout", "0", "--wait", "0.3", "status"}, 5),
              ContainsRegex("^vellora: isLoading\r\n" + waiting + "STATE         isLoading\r\n"));
}

TEST_F(TerminalTest, ColoursHaveASwatchAndColumnsStayInLine) {
  const auto shown = shownBy({"-q", "names", "Account"});
  EXPECT_THAT(shown, StartsWith("LABEL    API NAME  PREFIX  COLOUR     CREATEABLE\r\n"));
  EXPECT_THAT(shown,
              HasSubstr("\nAccount  Account   001     \x1b[48;2;47;111;222m  \x1b[0m 2F6FDE  yes\r\n"));
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
  EXPECT_THAT(shownBy({"-q", "search-layouts", "Account"}), StartsWith("\x1b[1mAccount\x1b[0m\r\n"));
  EXPECT_THAT(shownBy({"-q", "compact-layouts", "Account"}), StartsWith("\x1b[1mAccount\x1b[0m\r\n"));
}

TEST_F(TerminalTest, WhatTakesLongSaysWhatIsWaitedForAndThenNothingIsLeftOfThat) {
  server->setFault(RecordsServer::everything, Fault::never());
  // One thread runs both moments, the half second first, which is asked for before the other. A busy machine
  // may not have sent the request by then.
  EXPECT_THAT(
      shownBy({"--wait", "0.6", "search-layouts", "Account"}, 5),
      ContainsRegex("^\r\x1b\\[Kvellora: (waiting for /services/data/v50.0/search/layout|working)[^\r]*"
                    "\r\x1b\\[K(.*\r\x1b\\[K)?vellora: "));
  const std::string line = "\x1b[Kvellora: ";
  for (const std::string silent : {"-q", "-v"})
    EXPECT_THAT(shownBy({silent, "--wait", "0.6", "search-layouts", "Account"}, 5), Not(HasSubstr(line)));
  options.environment["TERM"] = "dumb";
  EXPECT_THAT(shownBy({"--wait", "0.6", "search-layouts", "Account"}, 5), Not(HasSubstr(line)));
}

TEST_F(TerminalTest, StatusWatchAndDiffSayWhatTheyWaitFor) {
  server->setFault(RecordsServer::everything, Fault::never());
  const std::string waits = "(waiting for /services/data/v50.0/(theme|sobjects)|working)[^\r]*\r\x1b\\[K";
  EXPECT_THAT(shownBy({"--wait", "0.6", "status"}, 5),
              ContainsRegex("^vellora: isLoading\r\n\r\x1b\\[Kvellora: " + waits));
  EXPECT_THAT(
      shownBy({"--wait", "0.6", "watch", "--times", "1"}, 5),
      ContainsRegex("^\r\x1b\\[Kvellora: " + waits + "(.*\r\x1b\\[K)?vellora: (\x1b\\[31m)?no object types"));
  EXPECT_THAT(shownBy({"--wait", "0.6", "diff", server->url(), server->url()}, 5),
              ContainsRegex("^\r\x1b\\[Kvellora: " + server->url() + ": " + waits));
}

TEST_F(TerminalTest, TablesFitTheTerminalHoweverLongTheLabels) {
  auto files = recordsserver::builtInDataFiles();
  const std::string label = R"("label": "Account")";
  ASSERT_NE(files.objects.find(label), std::string::npos);
  files.objects.replace(files.objects.find(label), label.size(),
                        R"("label": ")" + std::string(70, 'L') + R"(")");
  server = RecordsServer::start(loaded(files)).value();
  for (const std::vector<std::string>& words : {std::vector<std::string>{"-q", "list"},
                                                {"-q", "names", "Account"},
                                                {"-q", "ids", "001000000000009"}}) {
    const auto shown = shownBy([&] {
      auto plain = words;
      plain.insert(plain.begin(), {"--color", "never"});
      return plain;
    }());
    EXPECT_THAT(shown, HasSubstr("LLL…"));
    std::istringstream lines(shown);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(displayWidth(line), 81U) << line;
  }
  EXPECT_THAT(shownBy({"-q", "--wide", "names", "Account"}), HasSubstr(std::string(70, 'L')));
}

TEST_F(TerminalTest, WhoWantsNoColoursGetsNone) {
  const auto plain = [this](std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "-q");  // a busy machine would show how long it takes
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
