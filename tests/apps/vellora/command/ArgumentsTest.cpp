#include "apps/vellora/command/Arguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "tests/support/ScopedEnvironment.h"

namespace vellora::command {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::variant<Arguments, HelpText, Problem> parsed(std::vector<const char*> words) {
  words.insert(words.begin(), "vellora");
  return parseArguments(static_cast<int>(words.size()), words.data());
}

std::string problemOf(const std::vector<const char*>& words) {
  const auto result = parsed(words);
  const auto* problem = std::get_if<Problem>(&result);
  if (problem == nullptr) return "no problem";
  EXPECT_EQ(problem->exit, ExitCode::usage);
  return problem->message;
}

class ArgumentsTest : public testing::Test {
 protected:
  void SetUp() override {
    ::unsetenv("VELLORA_SERVER");
    ::setenv("HOME", "/home/somebody", 1);
    ::unsetenv("XDG_CACHE_HOME");
  }
};

TEST_F(ArgumentsTest, ReadsOptionsBeforeAndAfterTheCommand) {
  const auto result =
      parsed({"--server", "http://h", "search-layouts", "Account", "Contact", "--json", "--cache", "c.sqlite",
              "--cache-timeout", "5", "--wait", "2.5", "--log", "error", "--no-color"});
  const auto& arguments = std::get<Arguments>(result);
  EXPECT_EQ(arguments.command, Arguments::Command::searchLayouts);
  EXPECT_THAT(arguments.keys, ElementsAre("Account", "Contact"));
  EXPECT_EQ(arguments.server, "http://h");
  EXPECT_EQ(arguments.cacheFile, "c.sqlite");
  EXPECT_EQ(arguments.cacheTimeout, 5);
  EXPECT_EQ(arguments.wait, 2.5);
  EXPECT_TRUE(arguments.json);
  EXPECT_EQ(arguments.output.color, Coloring::never);
  EXPECT_EQ(arguments.logLevel, hostkit::SpdlogLogger::Level::error);
}

TEST_F(ArgumentsTest, HasDefaultsForEverythingButTheServer) {
  const auto result = parsed({"--server", "http://h", "search-layouts", "Account"});
  const auto& arguments = std::get<Arguments>(result);
  EXPECT_EQ(arguments.tokenFile, std::nullopt);
  EXPECT_EQ(arguments.theme, "light");
  EXPECT_EQ(arguments.cacheTimeout, 3600);
  EXPECT_EQ(arguments.wait, 70);
  EXPECT_FALSE(arguments.json);
  EXPECT_EQ(arguments.output.color, Coloring::automatic);
  EXPECT_EQ(arguments.output.talk, Talk::plain);
  EXPECT_EQ(arguments.output.format, std::nullopt);
  EXPECT_FALSE(arguments.output.wide);
  EXPECT_EQ(arguments.source, Source::cacheFirst);
  EXPECT_EQ(arguments.logLevel, hostkit::SpdlogLogger::Level::off);
  EXPECT_THAT(arguments.cacheFile, testing::StartsWith("/home/somebody/.cache/vellora/http-h-"));
}

TEST_F(ArgumentsTest, ReadsHowTheAnswerIsToBePrinted) {
  const auto result = parsed({"--server", "http://h", "-o", "csv", "--columns", "label,apiName", "list",
                              "acc", "per", "--wide", "--color", "always", "-v", "--refresh"});
  const auto& arguments = std::get<Arguments>(result);
  EXPECT_EQ(arguments.command, Arguments::Command::list);
  EXPECT_THAT(arguments.keys, ElementsAre("acc", "per"));
  EXPECT_EQ(arguments.output.format, Format::csv);
  EXPECT_THAT(arguments.output.columns, ElementsAre("label", "apiName"));
  EXPECT_TRUE(arguments.output.wide);
  EXPECT_EQ(arguments.output.color, Coloring::always);
  EXPECT_EQ(arguments.output.talk, Talk::verbose);
  EXPECT_EQ(arguments.source, Source::serverFirst);
}

TEST_F(ArgumentsTest, AnAnswerFromTheCacheAloneNeedsNoServer) {
  const auto result = parsed({"--offline", "-q", "--cache", "c", "list"});
  EXPECT_EQ(std::get<Arguments>(result).source, Source::cacheOnly);
  EXPECT_EQ(std::get<Arguments>(result).output.talk, Talk::quiet);
  EXPECT_THAT(std::get<Arguments>(result).keys, testing::IsEmpty());
}

TEST_F(ArgumentsTest, AnOptionCountsMoreThanTheVariableOfAnotherForm) {
  const tests::ScopedEnvironment exported("VELLORA_OUTPUT", "csv");
  EXPECT_EQ(std::get<Arguments>(parsed({"--server", "http://h", "list"})).output.format, Format::csv);
  const auto json = parsed({"--server", "http://h", "--json", "list"});
  EXPECT_TRUE(std::get<Arguments>(json).json);
  EXPECT_EQ(std::get<Arguments>(json).output.format, std::nullopt);
}

TEST_F(ArgumentsTest, AVariableOfTheOutputIsForTheCommandsThatCanDoIt) {
  const tests::ScopedEnvironment format("VELLORA_OUTPUT", "csv");
  const tests::ScopedEnvironment columns("VELLORA_COLUMNS", "label,apiName");
  const auto list = parsed({"--server", "http://h", "list"});
  EXPECT_THAT(std::get<Arguments>(list).output.columns, ElementsAre("label", "apiName"));
  const auto status = parsed({"--server", "http://h", "status"});
  EXPECT_EQ(std::get<Arguments>(status).output.format, std::nullopt);
  EXPECT_THAT(std::get<Arguments>(status).output.columns, testing::IsEmpty());
  EXPECT_EQ(problemOf({"--server", "http://h", "-o", "tsv", "status"}),
            "this command prints a table or JSON: give --output table or --output json; see vellora --help");
}

TEST_F(ArgumentsTest, HyphensBringNoOptionNearer) {
  EXPECT_EQ(problemOf({"--tokn", "x", "list"}), "there is no option --tokn; see vellora --help");
  EXPECT_EQ(problemOf({"--bearer", "x", "list"}), "there is no option --bearer; see vellora --help");
  EXPECT_EQ(problemOf({"--wiat", "1", "list"}),
            "there is no option --wiat; did you mean --wait?; see vellora --help");
}

TEST_F(ArgumentsTest, WhatContradictsItselfIsRefused) {
  EXPECT_EQ(problemOf({"--server", "http://h", "--offline", "--refresh", "list"}),
            "--offline excludes --refresh; see vellora --help");
  EXPECT_EQ(problemOf({"--server", "http://h", "-q", "-v", "list"}),
            "--quiet excludes --verbose; see vellora --help");
  EXPECT_EQ(problemOf({"--server", "http://h", "--json", "-o", "csv", "list"}),
            "--json and --output contradict each other: give one; see vellora --help");
  EXPECT_EQ(problemOf({"--server", "http://h", "-o", "xml", "list"}),
            "--output: must be table, json, csv, tsv or jsonl; see vellora --help");
}

TEST_F(ArgumentsTest, TheExplorersPortIsFreeUnlessItIsNamed) {
  const auto free = parsed({"--server", "http://h", "explore"});
  EXPECT_EQ(std::get<Arguments>(free).command, Arguments::Command::explore);
  EXPECT_EQ(std::get<Arguments>(free).port, 0);
  EXPECT_EQ(std::get<Arguments>(parsed({"--server", "http://h", "explore", "--port", "8123"})).port, 8123);
  EXPECT_THAT(problemOf({"--server", "http://h", "explore", "--port", "65536"}), HasSubstr("--port"));
  EXPECT_THAT(problemOf({"--server", "http://h", "explore", "--port", "-1"}), HasSubstr("--port"));
}

TEST_F(ArgumentsTest, TellsADefaultCacheFromOneThatWasNamed) {
  EXPECT_TRUE(std::get<Arguments>(parsed({"--server", "http://h", "cache", "ls"})).usesDefaultCache);
  EXPECT_FALSE(std::get<Arguments>(parsed({"--cache", "c.sqlite", "cache", "delete"})).usesDefaultCache);
}

TEST_F(ArgumentsTest, StandardInputGivesTheTokenOrTheEntries) {
  EXPECT_EQ(
      problemOf({"--cache", "c", "--token-file", "-", "cache", "import", "-"}),
      "standard input cannot give both the token and the entries: put the token into a file; see vellora "
      "--help");
}

TEST_F(ArgumentsTest, TakesTheServerFromTheEnvironmentUnlessToldOtherwise) {
  ::setenv("VELLORA_SERVER", "http://from-environment", 1);
  EXPECT_EQ(std::get<Arguments>(parsed({"search-layouts", "A"})).server, "http://from-environment");
  EXPECT_EQ(std::get<Arguments>(parsed({"--server", "http://told", "search-layouts", "A"})).server,
            "http://told");
}

TEST_F(ArgumentsTest, SaysWhatIsMissingAndWhatToDo) {
  EXPECT_EQ(problemOf({"search-layouts", "A"}),
            "no server: give --server URL or set VELLORA_SERVER; see vellora --help");
  EXPECT_THAT(problemOf({"--server", "http://h"}), HasSubstr("see vellora --help"));
  EXPECT_THAT(problemOf({"--server", "http://h", "search-layouts"}), HasSubstr("NAME is required"));
}

TEST_F(ArgumentsTest, RefusesUnknownOptionsAndCommands) {
  EXPECT_THAT(problemOf({"--server", "http://h", "search-layouts", "A", "--colour"}), HasSubstr("--colour"));
  EXPECT_THAT(problemOf({"--server", "http://h", "frobnicate", "A"}), HasSubstr("frobnicate"));
  EXPECT_THAT(problemOf({"--server"}), HasSubstr("--server"));
}

TEST_F(ArgumentsTest, NamesTheNearestCommandOptionOrLevel) {
  EXPECT_EQ(problemOf({"--cache", "c", "cache", "list"}),
            "there is no command cache list; did you mean cache ls?; see vellora --help");
  EXPECT_EQ(problemOf({"statsu"}), "there is no command statsu; did you mean status?; see vellora --help");
  EXPECT_EQ(problemOf({"names", "A", "--chache", "c"}),
            "there is no option --chache; did you mean --cache?; see vellora --help");
  EXPECT_EQ(problemOf({"cache", "purge", "--expire"}),
            "there is no option --expire; did you mean --expired?; see vellora --help");
  EXPECT_EQ(problemOf({"--log", "debug", "names", "A"}),
            "--log: must be off, error or info; see vellora --help");
}

TEST_F(ArgumentsTest, NamesTheCommandsWhereNoneIsGiven) {
  EXPECT_THAT(problemOf({}), testing::StartsWith("a command is missing: ids, names, "));
  EXPECT_EQ(problemOf({"--cache", "c", "cache"}),
            "a command is missing behind cache: ls, show, verify, purge, delete, export, import; see vellora "
            "--help");
}

TEST_F(ArgumentsTest, ATokenOnTheCommandLineIsRefusedAndNotRepeated) {
  for (const std::vector<const char*>& words :
       std::vector<std::vector<const char*>>{{"--token", "S3cret", "names", "A"},
                                             {"--token=S3cret", "names", "A"},
                                             {"names", "A", "--token", "S3cret"},
                                             {"--server", "http://h", "names", "A", "--token", "S3cret"},
                                             {"--token", "S3cret"}}) {
    EXPECT_EQ(
        problemOf(words),
        "there is no option --token; put the token into a file, and give --token-file FILE; see vellora "
        "--help");
  }
}

TEST_F(ArgumentsTest, NoComplaintOfTheParserRepeatsAValue) {
  for (const std::vector<const char*>& words :
       std::vector<std::vector<const char*>>{{"--wait", "S3cret", "names", "A"},
                                             {"--cache-timeout", "S3cret", "names", "A"},
                                             {"--log", "S3cret", "names", "A"},
                                             {"explore", "--port", "S3cret"},
                                             {"--json=S3cret", "names", "A"},
                                             {"--no-color=S3cret", "names", "A"},
                                             {"cache", "purge", "--all=S3cret"},
                                             {"--version=S3cret"},
                                             {"-tS3cret", "names", "A"},
                                             {"S3cret", "names", "A"},
                                             {"status", "S3cret"},
                                             {"cache", "S3cret"},
                                             {"cache", "ls", "S3cret"},
                                             {"cache", "export", "a", "S3cret"},
                                             {"--wait", "1", "--wait", "S3cret", "names", "A"}}) {
    const std::string problem = problemOf(words);
    EXPECT_THAT(problem, HasSubstr("see vellora --help")) << words.front();
    EXPECT_THAT(problem, testing::Not(HasSubstr("S3cret"))) << words.front();
  }
  EXPECT_THAT(std::get<HelpText>(parsed({"--help=S3cret"})).text, testing::Not(HasSubstr("S3cret")));
}

TEST_F(ArgumentsTest, RefusesNumbersThatMakeNoSense) {
  const std::string timeout = "--cache-timeout must be a number of seconds, 0 or more; see vellora --help";
  EXPECT_EQ(problemOf({"--server", "http://h", "--cache-timeout", "-1", "search-layouts", "A"}), timeout);
  EXPECT_EQ(problemOf({"--server", "http://h", "--cache-timeout", "nan", "search-layouts", "A"}), timeout);
  EXPECT_THAT(problemOf({"--server", "http://h", "--cache-timeout", "soon", "search-layouts", "A"}),
              HasSubstr("--cache-timeout"));
  EXPECT_EQ(problemOf({"--server", "http://h", "--wait", "0", "search-layouts", "A"}),
            "--wait must be a number of seconds above 0; see vellora --help");
  EXPECT_THAT(problemOf({"--server", "http://h", "--log", "loud", "search-layouts", "A"}),
              HasSubstr("--log"));
}

TEST_F(ArgumentsTest, ADashStandsForStandardInputWhichServesOneThingOnly) {
  EXPECT_TRUE(std::get<Arguments>(parsed({"--server", "http://h", "search-layouts", "-"})).readsKeys());
  EXPECT_FALSE(std::get<Arguments>(parsed({"--server", "http://h", "search-layouts", "A"})).readsKeys());
  EXPECT_THAT(problemOf({"--server", "http://h", "--token-file", "-", "search-layouts", "-"}),
              HasSubstr("cannot give both the token and the keys"));
}

TEST_F(ArgumentsTest, HelpAndVersionAreTextsForStandardOutput) {
  const auto help = parsed({"--help"});
  EXPECT_THAT(std::get<HelpText>(help).text, HasSubstr("search-layouts"));
  EXPECT_THAT(std::get<HelpText>(help).text, HasSubstr("Exit codes: 0 every key answered"));
  EXPECT_THAT(std::get<HelpText>(parsed({"search-layouts", "--help"})).text, HasSubstr("NAME"));
  EXPECT_THAT(std::get<HelpText>(parsed({"cache", "purge", "--help"})).text, HasSubstr("--expired"));
  EXPECT_THAT(std::get<HelpText>(parsed({"--version"})).text, testing::MatchesRegex("vellora [0-9.]+\n"));
  EXPECT_THAT(std::get<HelpText>(parsed({"-V"})).text,
              testing::MatchesRegex("vellora [0-9.]+\ncompiler: .*\nbuild: .*\nsystem: .*\n"));
}

TEST_F(ArgumentsTest, WithoutAFolderForTheCacheAFileMustBeNamed) {
  ::unsetenv("HOME");
  EXPECT_THAT(problemOf({"--server", "http://h", "search-layouts", "A"}), HasSubstr("give --cache FILE"));
  EXPECT_EQ(problemOf({"--server", "http://h", "--cache", "c", "search-layouts", "A"}), "no problem");
}

}  // namespace
}  // namespace vellora::command
