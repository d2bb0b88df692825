#include "apps/vellora/command/Help.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <variant>
#include <vector>

#include "apps/vellora/command/Arguments.h"
#include "tests/support/ScopedEnvironment.h"

namespace vellora::command {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using tests::ScopedEnvironment;

std::variant<Arguments, HelpText, Problem> parse(std::vector<const char*> words) {
  words.insert(words.begin(), "vellora");
  return parseArguments(static_cast<int>(words.size()), words.data());
}

std::string help(std::vector<const char*> words) {
  words.push_back("--help");
  return std::get<HelpText>(parse(std::move(words))).text;
}

Arguments arguments(const std::vector<const char*>& words) {
  return std::get<Arguments>(parse(words));
}

std::string problem(const std::vector<const char*>& words) {
  const auto parsed = parse(words);
  const auto* found = std::get_if<Problem>(&parsed);
  return found != nullptr ? found->message : "no problem";
}

/// A user without a configuration, and with no variable of the command.
class HelpTest : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* const name : {"VELLORA_SERVER", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"}) ::unsetenv(name);
    ::setenv("HOME", "/home/somebody", 1);
  }
};

TEST_F(HelpTest, GroupsOptionsByWhatTheyAreAbout) {
  EXPECT_THAT(
      help({}),
      ContainsRegex("\nServer:\n  --server URL(.|\n)*\n\nCache:\n  --cache FILE(.|\n)*\n\nOutput:\n"));
}

TEST_F(HelpTest, NamesTheExitCodesOfTheCommand) {
  EXPECT_THAT(help({"watch"}), HasSubstr("\nExit codes: 0 Ctrl-C, or the last of --times went well"));
  EXPECT_THAT(help({"diff"}), HasSubstr("\nExit codes: 0 both are alike, 1 they differ"));
  EXPECT_THAT(help({"list"}), HasSubstr("\nExit codes: 0 every key answered, 1 unexpected"));
}

TEST_F(HelpTest, SaysDefaultsInWords) {
  const auto text = help({});
  EXPECT_THAT(text, ContainsRegex("--theme NAME +Theme of colours and icons; by default light\n"));
  EXPECT_THAT(text, HasSubstr("by default 70"));
  EXPECT_THAT(text, Not(HasSubstr("->")));
  EXPECT_THAT(text, Not(HasSubstr("{")));
}

TEST_F(HelpTest, NamesTheVariableOfEachOption) {
  const auto text = help({});
  for (const char* const variable :
       {"VELLORA_SERVER", "VELLORA_TOKEN_FILE", "VELLORA_THEME", "VELLORA_WAIT", "VELLORA_CACHE",
        "VELLORA_CACHE_TIMEOUT", "VELLORA_JSON", "VELLORA_LOG", "VELLORA_LOG_FILE"}) {
    EXPECT_THAT(text, HasSubstr("[" + std::string(variable) + "]"));
  }
  EXPECT_THAT(help({"explore"}), HasSubstr("[VELLORA_PORT]"));
  EXPECT_THAT(help({"watch"}), HasSubstr("[VELLORA_INTERVAL]"));
}

TEST_F(HelpTest, WhatDeletesOrReplacesHasNoVariable) {
  EXPECT_THAT(help({"cache", "purge"}), Not(HasSubstr("VELLORA_")));
  const ScopedEnvironment all("VELLORA_ALL", "1");
  EXPECT_THAT(problem({"--cache", "c", "cache", "purge"}), HasSubstr("say what to delete"));
}

TEST_F(HelpTest, ACommandsHelpSaysHowItIsCalledAndWhichKeysItTakes) {
  EXPECT_THAT(help({"names"}),
              HasSubstr("Usage: vellora [OPTION]... names NAME...\n\nArguments:\n  NAME..."));
  EXPECT_THAT(help({"cache", "purge"}), HasSubstr("Usage: vellora [OPTION]... cache purge [ENTRY...]\n"));
  EXPECT_THAT(help({"diff"}), HasSubstr("Usage: vellora [OPTION]... diff BEFORE AFTER\n"));
  EXPECT_THAT(help({"cache"}), HasSubstr("Usage: vellora [OPTION]... cache COMMAND [ARGUMENT]...\n"));
  EXPECT_THAT(help({"names"}), HasSubstr("The options of all commands: vellora --help\n"));
  EXPECT_THAT(help({}), HasSubstr("Usage: vellora [OPTION]... COMMAND [ARGUMENT]...\n"));
}

TEST_F(HelpTest, FitsEightyColumns) {
  for (const std::vector<const char*>& command : {std::vector<const char*>{},
                                                  {"ids"},
                                                  {"names"},
                                                  {"watch"},
                                                  {"diff"},
                                                  {"explore"},
                                                  {"cache"},
                                                  {"cache", "import"},
                                                  {"cache", "purge"},
                                                  {"completion"}}) {
    std::istringstream lines(help(command));
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80U) << line;
  }
}

TEST_F(HelpTest, AVariableStandsForAnOption) {
  const ScopedEnvironment server("VELLORA_SERVER", "http://h");
  const ScopedEnvironment token("VELLORA_TOKEN_FILE", "t");
  const ScopedEnvironment theme("VELLORA_THEME", "dark");
  const ScopedEnvironment cache("VELLORA_CACHE", "c.sqlite");
  const ScopedEnvironment timeout("VELLORA_CACHE_TIMEOUT", "5");
  const ScopedEnvironment wait("VELLORA_WAIT", "2.5");
  const ScopedEnvironment json("VELLORA_JSON", "1");
  const ScopedEnvironment log("VELLORA_LOG", "error");
  const ScopedEnvironment logFile("VELLORA_LOG_FILE", "l");
  const auto told = arguments({"names", "A"});
  EXPECT_EQ(told.server, "http://h");
  EXPECT_EQ(told.tokenFile, "t");
  EXPECT_EQ(told.theme, "dark");
  EXPECT_EQ(told.cacheFile, "c.sqlite");
  EXPECT_EQ(told.cacheTimeout, 5);
  EXPECT_EQ(told.wait, 2.5);
  EXPECT_TRUE(told.json);
  EXPECT_EQ(told.logLevel, hostkit::SpdlogLogger::Level::error);
  EXPECT_EQ(told.logFile, "l");
}

TEST_F(HelpTest, AnOptionCountsMoreThanItsVariableAndAnEmptyVariableIsNone) {
  const ScopedEnvironment wait("VELLORA_WAIT", "2.5");
  const ScopedEnvironment theme("VELLORA_THEME", "");
  const ScopedEnvironment port("VELLORA_PORT", "8123");
  const ScopedEnvironment json("VELLORA_JSON", "no");
  EXPECT_EQ(arguments({"--server", "http://h", "--wait", "7", "names", "A"}).wait, 7);
  EXPECT_EQ(arguments({"--server", "http://h", "names", "A"}).theme, "light");
  EXPECT_EQ(arguments({"--server", "http://h", "explore"}).port, 8123);
  EXPECT_EQ(arguments({"--server", "http://h", "explore", "--port", "8124"}).port, 8124);
  EXPECT_FALSE(arguments({"--server", "http://h", "names", "A"}).json);
}

TEST_F(HelpTest, AMistakeInAVariableIsToldWithItsName) {
  const ScopedEnvironment wait("VELLORA_WAIT", "soon");
  EXPECT_THAT(problem({"--server", "http://h", "names", "A"}), HasSubstr("from the variable VELLORA_WAIT"));
  EXPECT_THAT(problem({"--server", "http://h", "--wait", "later", "names", "A"}), Not(HasSubstr("variable")));
}

}  // namespace
}  // namespace vellora::command
