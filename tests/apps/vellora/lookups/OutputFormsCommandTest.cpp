#include <string>

#include "tests/apps/vellora/CommandFixture.h"

// The forms in which the commands print what they found, and what they say beside it.

namespace vellora::command {
namespace {

using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class OutputFormsCommandTest : public CommandFixture {};

TEST_F(OutputFormsCommandTest, AnswersStandInTheOrderAskedEachOnce) {
  const auto ended = run({"-o", "tsv", "--columns", "key", "names", "Contact", "Account", "Contact", "Case"});
  EXPECT_EQ(ended.out, "key\nContact\nAccount\nCase\n");
  const auto table = run({"search-layouts", "Contact", "Account"});
  EXPECT_THAT(table.out, StartsWith("Contact\n"));
  EXPECT_THAT(table.out, HasSubstr("\nAccount\n"));
}

TEST_F(OutputFormsCommandTest, CsvHasAllColumnsOfEachKey) {
  const auto ended = run({"-o", "csv", "ids", "00B000000000001"});
  EXPECT_EQ(ended.exitCode, 0);
  EXPECT_THAT(ended.out,
              StartsWith("key,label,labelPlural,apiName,keyPrefix,color,createable,lists,svgIconUrl,"
                         "smallIconUrl,largeIconUrl\n00B000000000001,List View,List Views,"
                         "ListView,00B,"));
  EXPECT_THAT(ended.out, HasSubstr(",Account,"));
}

TEST_F(OutputFormsCommandTest, LayoutsAreOneTableForScripts) {
  const auto columns = run({"-o", "csv", "search-layouts", "Account", "Contact"});
  EXPECT_THAT(columns.out, StartsWith("type,label,name,field,format\nAccount,"));
  EXPECT_THAT(columns.out, HasSubstr("\nContact,"));
  const auto fields = run({"-o", "jsonl", "--columns", "type,field,partOf", "compact-layouts", "Account"});
  EXPECT_THAT(fields.out, StartsWith("{\"type\":\"Account\",\"field\":\"Name\"}\n"));
  EXPECT_THAT(fields.out, HasSubstr("\"field\":\"City\",\"partOf\":\"PostalAddress\"}\n"));
}

TEST_F(OutputFormsCommandTest, JsonLinesAreAnObjectForEachKey) {
  EXPECT_EQ(run({"-o", "jsonl", "--columns", "apiName,createable,keyPrefix", "names", "Account"}).out,
            "{\"apiName\":\"Account\",\"createable\":true,\"keyPrefix\":\"001\"}\n");
}

TEST_F(OutputFormsCommandTest, TheWholeAnswerAsJsonHasWhatIsMissingAndWhenItWasFetched) {
  const auto ended = run({"-o", "json", "names", "Nonsense", "Contact", "Account"});
  EXPECT_EQ(ended.exitCode, 3);
  EXPECT_THAT(ended.out,
              StartsWith(R"({"question":"types","end":"answered","found":[{"key":"Contact","record":)"));
  EXPECT_THAT(ended.out, HasSubstr(R"("missing":[{"key":"Nonsense","code":"unknown","text":"unknown to the )"
                                   R"(server"}])"));
  EXPECT_THAT(ended.out, ContainsRegex("\"fetched\":\"20[0-9-]+T[0-9:]+Z\""));
  for (const std::string command : {"search-layouts", "compact-layouts", "ids", "list"})
    EXPECT_THAT(run({"-o", "json", command, command == "ids" ? "001a" : "Account"}).out,
                AllOf(StartsWith("{\"question\":\""), EndsWith("}\n")));
}

TEST_F(OutputFormsCommandTest, AColumnThatThereIsNoneOfIsAUsageErrorBeforeAnythingIsAsked) {
  const auto ended = run({"--columns", "lable", "names", "Account"});
  EXPECT_EQ(ended.exitCode, 2);
  EXPECT_EQ(ended.out, "");
  EXPECT_THAT(ended.err,
              StartsWith("vellora: there is no column lable; did you mean label?; there are key, "));
  EXPECT_THAT(server->requests(), testing::IsEmpty());
}

TEST_F(OutputFormsCommandTest, IconsStandInWideTablesOnly) {
  for (const std::string command : {"ids", "names"}) {
    const std::string key = command == "ids" ? "001000000000009" : "Account";
    EXPECT_THAT(run({command, key}).out, Not(HasSubstr("icons.example")));
    EXPECT_THAT(run({"--wide", command, key}).out, HasSubstr("https://icons.example/light/account.svg"));
  }
}

TEST_F(OutputFormsCommandTest, ColoursComeWhenTheyAreWanted) {
  EXPECT_THAT(run({"--color", "always", "names", "Account"}).out, HasSubstr("\x1b[48;2;47;111;222m"));
  EXPECT_THAT(run({"--color", "always", "names", "Nonsense"}).err,
              StartsWith("vellora: \x1b[31mno object type for Nonsense: the server has none\x1b[0m\n"));
  options.environment["NO_COLOR"] = "1";
  EXPECT_THAT(run({"--color", "always", "names", "Account"}).out, HasSubstr("\x1b["))
      << "what is asked for counts more than the environment";
  for (const std::string when : {"auto", "never"})
    EXPECT_THAT(run({"--color", when, "names", "Account"}).out, Not(HasSubstr("\x1b")));
}

TEST_F(OutputFormsCommandTest, QuietSaysNothingButTheExitCodeTells) {
  const auto missing = run({"-q", "names", "Nonsense"});
  EXPECT_EQ(missing.exitCode, 3);
  EXPECT_EQ(missing.err, "");
  server->stop();
  const auto failed = run({"-q", "search-layouts", "Account"});
  EXPECT_EQ(failed.exitCode, 5);
  EXPECT_EQ(failed.err, "");
  EXPECT_NE(run({"-q", "--cache", folder.path().string(), "names", "A"}).err, "")
      << "that nothing could be asked at all is told";
}

TEST_F(OutputFormsCommandTest, VerboseTellsOfEachRequestAndWhereTheAnswerCameFrom) {
  const auto first = run({"-v", "search-layouts", "Account"});
  EXPECT_THAT(first.err,
              ContainsRegex("^vellora: GET /services/data/v50.0/search/layout: [0-9]+ bytes after [0-9.]+ s\n"
                            "vellora: 1 found, 0 missing, from the server,.* after [0-9.]+ s\n$"));
  EXPECT_THAT(run({"-v", "search-layouts", "Account"}).err,
              ContainsRegex("^vellora: 1 found, 0 missing, from the cache, .* old, after [0-9.]+ s\n$"));
}

TEST_F(OutputFormsCommandTest, ANameThatIsNearlyOneIsHintedAt) {
  const auto ended = run({"names", "account", "Contct"});
  EXPECT_EQ(ended.exitCode, 3);
  EXPECT_EQ(ended.err,
            "vellora: no object type for account, Contct: the server has none; did you mean Account, "
            "Contact?\n");
}

TEST_F(OutputFormsCommandTest, AThemeThatTheServerDoesNotHaveIsSaid) {
  const auto ended = run({"--theme", "drak", "names", "Account"});
  EXPECT_EQ(ended.exitCode, 0);
  EXPECT_EQ(
      ended.err,
      "vellora: the server has no theme drak; it has contrast, dark, light, whose colours and icons stand "
      "in\n");
  EXPECT_EQ(run({"--theme", "dark", "names", "Account"}).err, "");
  EXPECT_EQ(run({"--theme", "drak", "search-layouts", "Account"}).err, "") << "layouts have no colours";
}

TEST_F(OutputFormsCommandTest, ATokenOnTheCommandLineIsRefusedAndNotRepeated) {
  const auto ended = run({"--token", "S3cret", "names", "Account"});
  EXPECT_EQ(ended.exitCode, 2);
  EXPECT_THAT(ended.err, HasSubstr("there is no option --token; put the token into a file"));
  EXPECT_THAT(ended.out + ended.err, Not(HasSubstr("S3cret")));
  EXPECT_THAT(server->requests(), testing::IsEmpty());
}

}  // namespace
}  // namespace vellora::command
