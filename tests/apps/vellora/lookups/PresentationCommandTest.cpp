#include <algorithm>
#include <chrono>

#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "tests/apps/vellora/CommandFixture.h"
#include "tests/support/SlowBuild.h"
#include "vellora/Host/CacheTable.h"

namespace vellora::command {
namespace {

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;

constexpr const char* themes = "GET /services/data/v50.0/theme";
constexpr const char* sObjects = "GET /services/data/v50.0/sobjects";
constexpr const char* accountsView =
    "GET "
    "/services/data/v50.0/"
    "query?q=SELECT%20Id,SobjectType%20FROM%20ListView%20WHERE%20Id%20%3D%20'00B000000000001'";
constexpr const char* queryEndpoint = "/services/data/v50.0/query";

class PresentationCommandTest : public CommandFixture {};

TEST_F(PresentationCommandTest, IdsPrintsTheRecordsAndSendsNoMoreThanItNeeds) {
  const auto ended = run({"--json", "ids", "001000000000009", "00B000000000001"});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_EQ(ended.err, "");
  EXPECT_THAT(server->requests(), UnorderedElementsAre(themes, sObjects, accountsView));
  EXPECT_THAT(ended.out, StartsWith(R"({"001000000000009":{"typePresentationInfo":{"apiName":"Account",)"));
  EXPECT_THAT(ended.out, HasSubstr(R"("00B000000000001":{"typePresentationInfo":{"apiName":"ListView",)"));
  EXPECT_THAT(ended.out, HasSubstr(R"("instancePresentationInfo":{"apiName":"Account",)"));
}

TEST_F(PresentationCommandTest, ASecondRunWithAFreshCacheSendsNothing) {
  const auto first = run({"--json", "ids", "001000000000009", "00B000000000001"});
  server->clearRequests();
  const auto second = run({"--json", "ids", "001000000000009", "00B000000000001"});
  EXPECT_EQ(second.exitCode, 0);
  EXPECT_EQ(second.out, first.out);
  EXPECT_THAT(server->requests(), ElementsAre());
  server->stop();
  EXPECT_EQ(run({"--json", "ids", "001000000000009", "00B000000000001"}).out, first.out) << "offline";
}

TEST_F(PresentationCommandTest, WithATimeoutOfZeroTheListsAreFetchedAgain) {
  run({"ids", "001000000000009"});
  server->clearRequests();
  EXPECT_EQ(run({"--cache-timeout", "0", "ids", "001000000000009"}).exitCode, 0);
  EXPECT_THAT(server->requests(), UnorderedElementsAre(themes, sObjects)) << "each once";
}

TEST_F(PresentationCommandTest, TheTableShowsTheTypesAndWhatListViewsList) {
  const auto ended = run({"ids", "001000000000009", "00B000000000001"});
  EXPECT_THAT(ended.out, StartsWith("KEY              LABEL      API NAME  COLOUR  CREATEABLE  LISTS\n"));
  EXPECT_THAT(ended.out, HasSubstr("00B000000000001  List View  ListView"));
  EXPECT_THAT(ended.out, testing::ContainsRegex("ListView +[0-9A-F]* +no +Account\n"));
  EXPECT_THAT(ended.out, Not(HasSubstr("\x1b")));
}

TEST_F(PresentationCommandTest, NamesPrintsTheTypesOfTheChosenTheme) {
  const auto light = run({"--json", "names", "Account"});
  const auto dark = run({"--json", "--theme", "dark", "names", "Account"});
  EXPECT_EQ(light.exitCode, 0);
  EXPECT_THAT(light.out, StartsWith(R"({"Account":{"typePresentationInfo":{"apiName":"Account","color":")"));
  EXPECT_NE(light.out, dark.out);
}

TEST_F(PresentationCommandTest, AThemeThatNoTypeHasFallsBackToOthers) {
  const auto ended = run({"--json", "--theme", "no such theme", "names", "Account"});
  EXPECT_EQ(ended.exitCode, 0);
  EXPECT_THAT(ended.out, HasSubstr(R"("color":")"));
  EXPECT_THAT(ended.out, Not(HasSubstr("svgIconUrl")));
}

TEST_F(PresentationCommandTest, UnknownKeysAreExitCodeThree) {
  const auto ids = run({"--json", "ids", "001000000000009", "zzz000000000001", "x", ""});
  EXPECT_EQ(ids.exitCode, 3);
  EXPECT_EQ(ids.err,
            "vellora: no object type for zzz000000000001, x: the server has none\n"
            "vellora: no object type for \"\": not asked: The key is empty.\n");
  const auto names = run({"--json", "names", "Nonsense"});
  EXPECT_EQ(names.exitCode, 3);
  EXPECT_EQ(names.out, "{}\n");
}

TEST_F(PresentationCommandTest, RepeatedKeysAreOneEntry) {
  const auto ended = run({"--json", "ids", "001000000000009", "001000000000009"});
  EXPECT_EQ(ended.exitCode, 0);
  EXPECT_EQ(ended.out.find("001000000000009"), ended.out.rfind("001000000000009"));
}

TEST_F(PresentationCommandTest, ThousandsOfIdsComeFromStandardInput) {
  constexpr int count = vellora::tests::codeIsSlow ? 2'000 : 10'000;
  for (int i = 0; i < count; ++i) options.input += "001" + std::to_string(i) + "\n";
  const auto ended = run({"--wait", "500", "--json", "ids", "-"});
  EXPECT_EQ(ended.exitCode, 0);
  EXPECT_THAT(ended.out, HasSubstr("\"001" + std::to_string(count - 1) +
                                   R"(":{"typePresentationInfo":{"apiName":"Account")"));
  EXPECT_EQ(server->requests().size(), 2U);

  const auto table = run({"--wait", "500", "ids", "-"});
  EXPECT_EQ(table.exitCode, 0);
  EXPECT_EQ(std::count(table.out.begin(), table.out.end(), '\n'), count + 1)
      << "a heading and a row for each";
}

TEST_F(PresentationCommandTest, ThousandsOfNamesNeedEachListOnce) {
  server->setFault(RecordsServer::everything, Fault::delay(std::chrono::milliseconds(20)));
  for (int i = 0; i < 1'000; ++i) options.input += "Unheard" + std::to_string(i) + "\n";
  options.input += "Account\nContact\n";
  const std::string log = folder.file("log");
  const auto ended = run({"--log", "info", "--log-file", log, "--json", "names", "-"});
  EXPECT_EQ(ended.exitCode, 3);
  EXPECT_THAT(ended.out, StartsWith(R"({"Account":)"));
  EXPECT_THAT(ended.out, HasSubstr(R"("Contact":{)"));
  EXPECT_THAT(server->requests(), UnorderedElementsAre(themes, sObjects));
  const std::string fetched = "fetchedSObjects(), sObjects was fetched then cached";
  const std::string lines = contentOf(log);
  EXPECT_THAT(lines, HasSubstr(fetched));
  EXPECT_EQ(lines.find(fetched), lines.rfind(fetched)) << "and read each once";
}

TEST_F(PresentationCommandTest, WhatIsWrongInTheCacheIsNotBlamedOnTheServer) {
  // A list view that the server doesn't know is cached as null, which is no type's name when it is read.
  const std::vector<std::string> words = {"--cache-timeout", "0", "ids", "00Bnosuch", "zzz"};
  run(words);
  const auto again = run(words);
  EXPECT_EQ(again.exitCode, 3);
  EXPECT_EQ(again.err, "vellora: no object type for zzz: the server has none\n");
}

TEST_F(PresentationCommandTest, WhatIsWrongInTheCacheIsNotBlamedOnTheAnswerThatLedThere) {
  ASSERT_EQ(run({"ids", "001000000000009"}).exitCode, 0);
  {
    const auto cache = hostkit::SQLiteCache::open(cacheFile).value();
    const auto table = CorvaneSDK::CacheTable::open(*cache, "OPS_SObjectsCacheTable");
    table->upsert({Data("{}"), {{"cacheEntryType", "sObject"}, {"name", "Account"}}, std::nullopt});
  }
  // The list view's answer says which type to look up; its row is read while that answer is in hand.
  const auto ended = run({"--log", "info", "ids", "00B000000000001", "zzz"});
  EXPECT_EQ(ended.exitCode, 3);
  EXPECT_THAT(ended.err, HasSubstr("cachedSObject(for:): Failed to decode: "));
  EXPECT_THAT(ended.err, HasSubstr("vellora: no object type for zzz: the server has none\n"));
}

TEST_F(PresentationCommandTest, AServerThatNeverAnswersIsExitCodeFiveWhenTheWaitRunsOut) {
  server->setFault(RecordsServer::everything, Fault::never());
  for (const std::string command : {"ids", "names", "compact-layouts"}) {
    const auto [ended, wait] = runUntilAsked("/services/data/", {"--json", command, "Account"});
    EXPECT_EQ(ended.exitCode, 5) << command;
    EXPECT_EQ(ended.out, "null\n") << command;
    EXPECT_THAT(ended.err,
                ContainsRegex("for Account: no answer to /services/data/v5[03].0/[a-zA-Z]* within " + wait +
                              " s; give it longer with --wait SECONDS"))
        << command;
  }
}

TEST_F(PresentationCommandTest, AFailedListViewQueryIsExitCodeFiveAtOnce) {
  server->setFault(queryEndpoint, Fault::fail(500));
  const auto ended = run({"--json", "ids", "00B000000000001"});
  EXPECT_EQ(ended.exitCode, 5);
  EXPECT_EQ(ended.out, "null\n");
  EXPECT_EQ(ended.err,
            "vellora: no object type for 00B000000000001: "
            "500 for /services/data/v50.0/query: The server was told to fail; the server is in trouble: try "
            "again later\n");
}

TEST_F(PresentationCommandTest, AnIdThatCannotBeAskedTakesNoOtherWithIt) {
  const auto alone = run({"--json", "ids", "001000000000009"});
  for (const auto& fault : {Fault::fail(500), Fault::never(), Fault::garbage()}) {
    server->setFault(queryEndpoint, fault);
    const auto isWhole = [&](const auto& ended) { return ended.out == alone.out; };
    const auto both = runUntil(isWhole, {"--json", "ids", "00B000000000001", "001000000000009", "zzz"}).ended;
    EXPECT_EQ(both.exitCode, 5);
    EXPECT_EQ(both.out, alone.out);
    EXPECT_THAT(both.err, StartsWith("vellora: no object type for 00B000000000001: "));
    EXPECT_THAT(both.err, EndsWith("vellora: no object type for zzz: the server has none\n"));
  }
}

TEST_F(PresentationCommandTest, WithoutThemesTypesAreShownAndTheReasonIsTold) {
  server->setFault("/services/data/v50.0/theme", Fault::fail(500));
  for (const std::string command : {"ids", "names"}) {
    const auto ended = run({"--json", command, command == "ids" ? "001000000000009" : "Account"});
    EXPECT_EQ(ended.exitCode, 0) << command;
    EXPECT_THAT(ended.out, HasSubstr(R"("label":"Account")")) << command;
    EXPECT_THAT(ended.out, Not(HasSubstr("color"))) << command;
    EXPECT_EQ(ended.err,
              "vellora: the answer may be old or incomplete: 500 for /services/data/v50.0/theme: "
              "The server was told to fail; the server is in trouble: try again later\n");
  }
}

TEST_F(PresentationCommandTest, OldListsAreShownAndTheReasonIsToldWhenTheServerIsGone) {
  const auto first = run({"--json", "names", "Account"});
  server->stop();
  const auto offline = run({"--json", "--cache-timeout", "0", "names", "Account"});
  EXPECT_EQ(offline.exitCode, 0);
  EXPECT_EQ(offline.out, first.out);
  EXPECT_THAT(offline.err, ContainsRegex("^vellora: from the cache, .* old; the server did not answer: "));
  EXPECT_THAT(offline.err, HasSubstr("/services/data/v50.0/sobjects"));
}

TEST_F(PresentationCommandTest, AListViewQueryThatIsNeverAnsweredIsExitCodeFiveWhenTheWaitRunsOut) {
  server->setFault(queryEndpoint, Fault::never());
  const auto [ended, wait] = runUntilAsked(queryEndpoint, {"ids", "00B000000000001"});
  EXPECT_EQ(ended.exitCode, 5);
  EXPECT_EQ(ended.err,
            "vellora: no object type for 00B000000000001: no answer to /services/data/v50.0/query within " +
                wait + " s; give it longer with --wait SECONDS\n");
}

TEST_F(PresentationCommandTest, AServerThatIsNotThereIsExitCodeFiveAtOnceForIdsAndNames) {
  server->stop();
  for (const std::string command : {"ids", "names"}) {
    const auto ended = run({"--json", command, "Account"});
    EXPECT_EQ(ended.exitCode, 5) << command;
    EXPECT_EQ(ended.out, command == "ids" ? "null\n" : "{}\n");
    EXPECT_THAT(ended.err, StartsWith("vellora: no object type for Account: ")) << command;
    EXPECT_THAT(ended.err, HasSubstr("/services/data/v50.0/")) << command;
  }
}

TEST_F(PresentationCommandTest, AnErrorBodyAndHalfABodyAreExitCodeFive) {
  for (const auto& fault : {Fault::errorBody(), Fault::truncate(100), Fault::garbage()}) {
    server->setFault(RecordsServer::everything, fault);
    for (const std::string command : {"ids", "names", "compact-layouts"}) {
      const auto ended = run({command, "Account"});
      EXPECT_EQ(ended.exitCode, 5) << command;
      EXPECT_EQ(ended.out, "") << command;
      EXPECT_THAT(ended.err, ContainsRegex("^vellora: no [a-z ]* for Account: .*/services/data/v5[03].0/"))
          << command;
    }
  }
}

TEST_F(PresentationCommandTest, AHostileIdIsOneWellFormedRequest) {
  const std::string id = "00B OR 1=1&x=%41\r\nX: y";
  const auto ended = run({"--json", "ids", id});
  EXPECT_NE(ended.exitCode, 1) << ended.err;
  EXPECT_THAT(server->requests(),
              UnorderedElementsAre(
                  themes, sObjects,
                  "GET /services/data/v50.0/query?q=SELECT%20Id,SobjectType%20FROM%20ListView%20WHERE%20"
                  "Id%20%3D%20'00B%20OR%201%3D1%26x%3D%2541%0D%0AX:%20y'"));
}

TEST_F(PresentationCommandTest, AnIdThatWouldChangeItsQueryIsNotAsked) {
  for (const std::string id : {"00B' OR '1'='1", "00B\\"}) {
    const auto ended = run({"--json", "ids", id});
    EXPECT_EQ(ended.exitCode, 3) << id;
    EXPECT_EQ(ended.out, "{}\n") << id;
    EXPECT_THAT(ended.err, EndsWith(": not asked: The id holds a quotation mark or a backslash.\n"));
  }
  EXPECT_THAT(server->requests(), ElementsAre());
}

TEST_F(PresentationCommandTest, StatusTellsTheStateAndTheAgesOfTheCaches) {
  const auto ended = run({"--json", "status"});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_THAT(ended.out, StartsWith(R"({"state":"loaded","primedAndCached":true,"themes":{"ageSeconds":)"));
  EXPECT_THAT(ended.out, HasSubstr(R"("fresh":true},"sObjects":{"ageSeconds":)"));
  EXPECT_THAT(server->requests(), UnorderedElementsAre(themes, sObjects));
  const auto table = run({"status"});
  EXPECT_THAT(table.out,
              StartsWith("STATE         loaded\nREADY         yes\nTHEMES        fresh, fetched "));
  EXPECT_EQ(table.err, "") << "no progress where nobody looks";
}

TEST_F(PresentationCommandTest, StatusTellsOfEachRequestWhoWantsToFollow) {
  const auto ended = run({"-v", "status"});
  EXPECT_EQ(ended.exitCode, 0);
  for (const std::string path : {"sobjects", "theme"})
    EXPECT_THAT(ended.err, ContainsRegex("(^|\n)vellora: GET /services/data/v50.0/" + path +
                                         ": [0-9]+ bytes after [0-9.]+ s\n"));
  EXPECT_THAT(ended.err, ContainsRegex("\nvellora: 44 found, 0 missing, from the server,[^\n]*\n$"));
}

TEST_F(PresentationCommandTest, StatusOfAServerThatIsNotThereIsExitCodeFive) {
  server->stop();
  const auto ended = run({"--json", "status"});
  EXPECT_EQ(ended.exitCode, 5);
  EXPECT_THAT(ended.out, StartsWith(R"({"state":"failed","error":")"));
  EXPECT_THAT(ended.out,
              HasSubstr(R"("primedAndCached":false,"themes":{"fresh":false},"sObjects":{"fresh":false}})"));
  EXPECT_THAT(ended.err, StartsWith("vellora: loading failed: "));
}

TEST_F(PresentationCommandTest, StatusOfAServerThatDoesNotAnswerEndsWithTheWait) {
  server->setFault("/services/data/v50.0/theme", Fault::never());
  const auto ended = run({"--wait", "0.5", "status"});
  EXPECT_EQ(ended.exitCode, 5);
  EXPECT_THAT(ended.out,
              StartsWith("STATE         isLoading\nREADY         no\nTHEMES        never fetched\n"));
  EXPECT_EQ(ended.err, "vellora: still loading after 0.5 s; give it longer with --wait SECONDS\n");
}

TEST_F(PresentationCommandTest, CompactLayoutsPrintsTheHeadlineFieldsWithRewrittenReferences) {
  const auto ended = run({"--json", "compact-layouts", "Account", "Contact"});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  ASSERT_EQ(server->requests().size(), 2U);
  EXPECT_EQ(server->requests()[0], "GET /services/data/v53.0/compactLayouts?q=Account,Contact");
  EXPECT_THAT(server->requests()[1],
              StartsWith("GET /services/data/v53.0/query?q=SELECT%20EntityDefinition.QualifiedApiName,%20"
                         "QualifiedApiName,%20IsNameField%20FROM%20FieldDefinition%20WHERE%20"));
  EXPECT_THAT(ended.out, StartsWith(R"({"Account":{"objectType":"Account","layoutFields":[)"));
  EXPECT_THAT(ended.out, HasSubstr(R"("apiName":"Account.Name")"));
  server->stop();
  EXPECT_EQ(run({"--json", "compact-layouts", "Account", "Contact"}).out, ended.out) << "offline";
}

TEST_F(PresentationCommandTest, CompactLayoutsShowsThePartsOfCompoundFieldsBelowThem) {
  const auto ended = run({"compact-layouts", "Account"});
  EXPECT_EQ(ended.exitCode, 0);
  EXPECT_THAT(ended.out, StartsWith("Account\n  LABEL"));
  EXPECT_THAT(ended.out, ContainsRegex("\n    [A-Z]")) << "a part stands further in";
  EXPECT_THAT(run({"compact-layouts", "Contact"}).out,
              ContainsRegex("\n  Superior  *Superior.Name  *reference  *Contact\n"));
}

TEST_F(PresentationCommandTest, AnExpiredCompactLayoutIsPrintedOnlyWhenTheServerFails) {
  const auto first = run({"--cache-timeout", "0", "compact-layouts", "Order"});
  EXPECT_EQ(run({"--cache-timeout", "0", "compact-layouts", "Order"}).out, first.out);
  EXPECT_EQ(server->requests().size(), 4U) << "an expired layout counts as missing";
  server->stop();
  const auto offline = run({"--cache-timeout", "0", "compact-layouts", "Order"});
  EXPECT_EQ(offline.exitCode, 0);
  EXPECT_EQ(offline.out, first.out);
}

TEST_F(PresentationCommandTest, ACompactLayoutWithoutFieldsSaysSo) {
  const auto ended = run({"compact-layouts", "Survey"});
  EXPECT_EQ(ended.exitCode, 0);
  EXPECT_EQ(ended.out, "Survey\n  no fields\n");
}

TEST_F(PresentationCommandTest, AFailedNameQueryStillAnswersAndCachesNothing) {
  server->setFault("/services/data/v53.0/query", Fault::fail(500));
  EXPECT_EQ(run({"compact-layouts", "Contact"}).exitCode, 0);
  EXPECT_EQ(run({"compact-layouts", "Contact"}).exitCode, 0);
  EXPECT_EQ(server->requests().size(), 4U);
}

TEST_F(PresentationCommandTest, AKeyThatIsNotUtf8IsAUsageErrorBeforeAnythingIsAsked) {
  const auto ended = run({"--json", "ids", "001\xff"});
  EXPECT_EQ(ended.exitCode, 2);
  EXPECT_EQ(ended.err, "vellora: not UTF-8: 001\\xff\n");
  EXPECT_THAT(server->requests(), ElementsAre());
}

TEST_F(PresentationCommandTest, StandardInputIsNotReadUnasked) {
  options.input = "left alone\n";
  for (const std::string command : {"ids 001", "names Account", "search-layouts Account", "status"}) {
    const auto ended = ChildProcess::run("/bin/sh",
                                         {"-c", VELLORA " --server " + server->url() + " --cache " +
                                                    cacheFile + " " + command + " > /dev/null; cat"},
                                         options);
    EXPECT_EQ(ended.out, "left alone\n") << command;
  }
}

}  // namespace
}  // namespace vellora::command
