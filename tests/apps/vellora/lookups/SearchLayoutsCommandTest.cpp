#include <signal.h>

#include <algorithm>

#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "tests/apps/vellora/CommandFixture.h"

namespace vellora::command {
namespace {

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* endpoint = "/services/data/v50.0/search/layout";

class SearchLayoutsCommandTest : public CommandFixture {};

TEST_F(SearchLayoutsCommandTest, SendsOneRequestToTheLetterAndPrintsADictionaryByType) {
  const auto ended = run({"--json", "search-layouts", "Account", "Contact"});
  EXPECT_EQ(ended.exitCode, 0);
  EXPECT_EQ(ended.err, "");
  EXPECT_THAT(server->requests(), ElementsAre("GET /services/data/v50.0/search/layout?q=Account,Contact"));
  EXPECT_THAT(ended.out, StartsWith(R"({"Account":{"objectType":"Account","searchColumns":[{"name":")"));
  EXPECT_THAT(ended.out, HasSubstr(R"(,"Contact":{"objectType":"Contact","searchColumns":[)"));
  EXPECT_THAT(ended.out, EndsWith("}\n"));
}

TEST_F(SearchLayoutsCommandTest, ASecondRunWithTheSameCacheSendsNothingAndPrintsTheSame) {
  const auto first = run({"--json", "search-layouts", "Account", "Contact"});
  const auto second = run({"--json", "search-layouts", "Account", "Contact"});
  EXPECT_EQ(second.exitCode, 0);
  EXPECT_EQ(second.out, first.out);
  EXPECT_EQ(server->requests().size(), 1U);
}

TEST_F(SearchLayoutsCommandTest, AnswersFromTheCacheWhenTheServerIsGone) {
  const auto first = run({"search-layouts", "Account"});
  server->stop();
  const auto second = run({"search-layouts", "Account"});
  EXPECT_EQ(second.exitCode, 0);
  EXPECT_EQ(second.out, first.out);
  EXPECT_EQ(second.err, "");
}

TEST_F(SearchLayoutsCommandTest, PrintsATableForPeopleWithoutColoursWhenNobodyLooks) {
  const auto ended = run({"search-layouts", "Account"});
  EXPECT_THAT(ended.out, StartsWith("Account\n  LABEL"));
  EXPECT_THAT(ended.out, Not(HasSubstr("\x1b")));
}

TEST_F(SearchLayoutsCommandTest, AnExpiredLayoutIsFetchedAgain) {
  run({"search-layouts", "Account"});
  EXPECT_EQ(run({"search-layouts", "Account"}).exitCode, 0);
  EXPECT_EQ(server->requests().size(), 1U);
  EXPECT_EQ(run({"--cache-timeout", "0", "search-layouts", "Account"}).exitCode, 0);
  EXPECT_EQ(server->requests().size(), 2U);
}

TEST_F(SearchLayoutsCommandTest, ReadsNamesFromStandardInput) {
  options.input = "Account\nContact\n";
  const auto ended = run({"--json", "search-layouts", "-"});
  EXPECT_EQ(ended.exitCode, 0);
  EXPECT_THAT(server->requests(), ElementsAre("GET /services/data/v50.0/search/layout?q=Account,Contact"));
}

TEST_F(SearchLayoutsCommandTest, StandardInputThatCannotBeReadIsAUsageError) {
  for (const std::string& input : {"< " + folder.path().string(), std::string("<&-")}) {
    const auto ended = ChildProcess::run("/bin/sh",
                                         {"-c", "'" VELLORA "' --server " + server->url() + " --cache " +
                                                    cacheFile + " search-layouts - " + input},
                                         options);
    EXPECT_EQ(ended.exitCode, 2) << input;
    EXPECT_EQ(ended.out, "") << input;
    EXPECT_EQ(ended.err, "vellora: cannot read standard input\n") << input;
  }
}

TEST_F(SearchLayoutsCommandTest, AnUnknownNameIsExitCodeThree) {
  const auto ended = run({"--json", "search-layouts", "Account", "Nonsense", "Nonsense"});
  EXPECT_EQ(ended.exitCode, 3);
  EXPECT_THAT(ended.out, StartsWith(R"({"Account":)"));
  EXPECT_EQ(ended.err, "vellora: no search layout for Nonsense: the server has none\n");
}

TEST_F(SearchLayoutsCommandTest, ANameWithACommaWouldBeTwoAndIsNotAsked) {
  const auto ended = run({"--json", "search-layouts", "Account", "Case,Contact"});
  EXPECT_EQ(ended.exitCode, 3);
  EXPECT_THAT(ended.out, StartsWith(R"({"Account":)"));
  EXPECT_EQ(ended.err, "vellora: no search layout for Case,Contact: not asked: The name holds a comma.\n");
  EXPECT_THAT(server->requests(), ElementsAre("GET /services/data/v50.0/search/layout?q=Account"));
}

TEST_F(SearchLayoutsCommandTest, ThousandsOfNamesGoOutInRequestsThatServersTake) {
  for (int i = 0; i < 2'000; ++i) options.input += "Unheard_of" + std::to_string(i) + "\n";
  options.input += "Account\n";
  const auto ended = run({"--json", "search-layouts", "-"});
  EXPECT_EQ(ended.exitCode, 3);
  EXPECT_THAT(ended.out, StartsWith(R"({"Account":)"));
  EXPECT_GT(server->requests().size(), 1U);
  for (const auto& request : server->requests()) EXPECT_LE(request.size(), 8192U + 4U);
}

TEST_F(SearchLayoutsCommandTest, NamesTenMissingKeysAndCountsTheRest) {
  const auto ended = run({"search-layouts", "A", "B", "C", "D", "E", "F", "G", "H", "I", "J", "K", "L"});
  EXPECT_EQ(ended.exitCode, 3);
  EXPECT_EQ(ended.err,
            "vellora: no search layout for A, B, C, D, E, F, G, H, I, J and 2 more: the server has none\n");
}

TEST_F(SearchLayoutsCommandTest, AMessageCarriesNoControlCharactersToTheTerminal) {
  EXPECT_EQ(run({"search-layouts", "a\x1b[31m\nb"}).err,
            "vellora: no search layout for a\\x1b[31m\\nb: the server has none\n");
}

TEST_F(SearchLayoutsCommandTest, AnEntryOfTheCacheThatCannotBeReadIsNotTakenForAFailedRequest) {
  {
    const auto cache = hostkit::SQLiteCache::open(cacheFile);
    ASSERT_TRUE(cache);
    cache.value()->save(Data(std::string("not JSON")), "OPS_Layout_Nonsense");
  }
  const auto ended = run({"search-layouts", "Nonsense"});
  EXPECT_EQ(ended.exitCode, 3);
  EXPECT_EQ(ended.err, "vellora: no search layout for Nonsense: the server has none\n");
}

TEST_F(SearchLayoutsCommandTest, AServerThatIsNotThereIsExitCodeFiveWithTheReason) {
  const std::string url = server->url();
  server->stop();
  const auto ended = ChildProcess::run(
      VELLORA, {"--server", url, "--cache", cacheFile, "--json", "search-layouts", "Account"}, options);
  EXPECT_EQ(ended.exitCode, 5);
  EXPECT_EQ(ended.out, "{}\n");
  EXPECT_THAT(ended.err, StartsWith("vellora: no search layout for Account: "));
  EXPECT_THAT(ended.err, HasSubstr(url.substr(std::string("http://").size())));
  EXPECT_THAT(ended.err, HasSubstr(endpoint));
}

TEST_F(SearchLayoutsCommandTest, AnAnswerThatIsNotALayoutListIsExitCodeFiveWithTheReason) {
  for (const auto& fault : {Fault::garbage(), Fault::empty(), Fault::errorBody()}) {
    server->setFault(endpoint, fault);
    const auto ended = run({"search-layouts", "Account"});
    EXPECT_EQ(ended.exitCode, 5);
    EXPECT_EQ(ended.out, "");
    EXPECT_THAT(ended.err, StartsWith("vellora: no search layout for Account: the answer of the server to "
                                      "/services/data/v50.0/search/layout cannot be used: "));
    EXPECT_THAT(ended.err,
                ContainsRegex("not valid JSON at byte [0-9]|expected an? .* at \\$|missing key .* at \\$"));
  }
}

TEST_F(SearchLayoutsCommandTest, AnErrorStatusIsExitCodeFiveWithTheServersOwnWords) {
  server->setFault(endpoint, Fault::fail(500));
  const auto ended = run({"search-layouts", "Account"});
  EXPECT_EQ(ended.exitCode, 5);
  EXPECT_EQ(ended.out, "");
  EXPECT_EQ(ended.err,
            "vellora: no search layout for Account: 500 for /services/data/v50.0/search/layout: "
            "The server was told to fail; the server is in trouble: try again later\n");
}

TEST_F(SearchLayoutsCommandTest, AConnectionThatBreaksIsExitCodeFive) {
  for (const auto& fault : {Fault::drop(), Fault::truncate(10)}) {
    server->setFault(endpoint, fault);
    const auto ended = run({"search-layouts", "Account"});
    EXPECT_EQ(ended.exitCode, 5);
    EXPECT_THAT(ended.err, HasSubstr(endpoint));
  }
}

TEST_F(SearchLayoutsCommandTest, WhenTheWaitRunsOutItSaysSo) {
  server->setFault(endpoint, Fault::never());
  const auto [ended, wait] = runUntilAsked(endpoint, {"--json", "search-layouts", "Account"});
  EXPECT_EQ(ended.exitCode, 5);
  EXPECT_EQ(ended.out, "null\n");
  EXPECT_EQ(ended.err,
            "vellora: no search layout for Account: no answer to /services/data/v50.0/search/layout within " +
                wait + " s; give it longer with --wait SECONDS\n");
}

TEST_F(SearchLayoutsCommandTest, ControlCEndsItAtOnceWithExitCode130) {
  server->setFault(endpoint, Fault::never());
  ChildProcess process(VELLORA, withServer({"search-layouts", "Account"}), options);
  ASSERT_TRUE(server->waitForRequests(1));
  process.sendSignal(SIGINT);
  EXPECT_EQ(process.wait().exitCode, 130);
}

TEST_F(SearchLayoutsCommandTest, SendsTheTokenOfAFileAndPrintsItNowhere) {
  const std::string tokenFile = folder.file("token");
  writeFile(tokenFile, "canary-7f3a\n");
  const auto ended = run({"--token-file", tokenFile, "--log", "info", "search-layouts", "Account"});
  EXPECT_EQ(ended.exitCode, 0);
  EXPECT_THAT(server->recordedRequests().at(0).header("Authorization"),
              testing::Optional(testing::StrEq("Bearer canary-7f3a")));
  EXPECT_THAT(ended.out + ended.err, Not(HasSubstr("canary")));
}

TEST_F(SearchLayoutsCommandTest, ReadsTheTokenFromStandardInput) {
  options.input = "canary-7f3a";
  EXPECT_EQ(run({"--token-file", "-", "search-layouts", "Account"}).exitCode, 0);
  EXPECT_THAT(server->recordedRequests().at(0).header("Authorization"),
              testing::Optional(testing::StrEq("Bearer canary-7f3a")));
}

TEST_F(SearchLayoutsCommandTest, ATokenFileThatCannotBeReadOrIsEmptyIsAUsageError) {
  const std::string tokenFile = folder.file("token");
  const auto absent = run({"--token-file", tokenFile, "search-layouts", "Account"});
  EXPECT_EQ(absent.exitCode, 2);
  EXPECT_EQ(absent.err, "vellora: cannot read the token file " + tokenFile + "\n");
  const auto aFolder = run({"--token-file", folder.path().string(), "search-layouts", "Account"});
  EXPECT_EQ(aFolder.exitCode, 2);
  EXPECT_EQ(aFolder.err, "vellora: cannot read the token file " + folder.path().string() + "\n");
  writeFile(tokenFile, "\n");
  const auto empty = run({"--token-file", tokenFile, "search-layouts", "Account"});
  EXPECT_EQ(empty.exitCode, 2);
  EXPECT_EQ(empty.err, "vellora: there is no token in " + tokenFile + "\n");
  EXPECT_THAT(server->requests(), IsEmpty());
}

TEST_F(SearchLayoutsCommandTest, AServerAddressThatIsNoneIsAUsageError) {
  for (const std::string address :
       {"records.example", "ftp://records.example", "http://", "http://user:s-cret@h"}) {
    const auto ended = ChildProcess::run(
        VELLORA, {"--server", address, "--cache", cacheFile, "search-layouts", "A"}, options);
    EXPECT_EQ(ended.exitCode, 2) << address;
    EXPECT_THAT(ended.err, StartsWith("vellora: ")) << address;
    EXPECT_THAT(ended.err, Not(HasSubstr("s-cret"))) << address;
  }
}

TEST_F(SearchLayoutsCommandTest, AnOptionThatIsMissingIsAUsageErrorOfOneLine) {
  const auto ended = ChildProcess::run(VELLORA, {"search-layouts", "Account"}, options);
  EXPECT_EQ(ended.exitCode, 2);
  EXPECT_EQ(ended.out, "");
  EXPECT_EQ(ended.err, "vellora: no server: give --server URL or set VELLORA_SERVER; see vellora --help\n");
}

TEST_F(SearchLayoutsCommandTest, ACacheFolderThatCannotBeMadeIsExitCodeSeven) {
  writeFile(folder.file("file"), "in the way");
  const auto ended = ChildProcess::run(
      VELLORA,
      {"--server", server->url(), "--cache", folder.file("file") + "/cache.sqlite", "search-layouts", "A"},
      options);
  EXPECT_EQ(ended.exitCode, 7);
  EXPECT_THAT(ended.err, HasSubstr(folder.file("file")));
  EXPECT_EQ(contentOf(folder.file("file")), "in the way");
  EXPECT_THAT(server->requests(), IsEmpty());
}

TEST_F(SearchLayoutsCommandTest, AFileThatIsNoCacheIsExitCodeSevenAndLeftAsItIs) {
  writeFile(cacheFile, "my notes, not a database\n");
  const auto ended = run({"search-layouts", "Account"});
  EXPECT_EQ(ended.exitCode, 7);
  EXPECT_THAT(ended.err, HasSubstr(cacheFile));
  EXPECT_EQ(contentOf(cacheFile), "my notes, not a database\n");
}

TEST_F(SearchLayoutsCommandTest, ADamagedCacheIsSetAsideAndTheServerAsked) {
  run({"search-layouts", "Account"});
  std::string bytes = contentOf(cacheFile);
  ASSERT_GT(bytes.size(), 4096U);
  bytes.resize(bytes.size() - 1000);
  std::fill(bytes.begin() + 200, bytes.end(), 'x');
  writeFile(cacheFile, bytes);
  const auto ended = run({"search-layouts", "Account"});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_EQ(contentOf(cacheFile + ".damaged-1"), bytes);
}

TEST_F(SearchLayoutsCommandTest, TheLogGoesWhereItIsToldTo) {
  const auto toError = run({"--log", "info", "search-layouts", "Account"});
  EXPECT_THAT(toError.err, HasSubstr("load(key:): No data from cache"));
  const std::string logFile = folder.file("log");
  const auto toFile = run({"--log", "info", "--log-file", logFile, "search-layouts", "Contact"});
  EXPECT_EQ(toFile.err, "");
  EXPECT_THAT(contentOf(logFile), HasSubstr("load(key:): No data from cache"));
}

TEST_F(SearchLayoutsCommandTest, ALogFileThatCannotBeWrittenIsAUsageError) {
  const auto ended = run({"--log-file", folder.file("absent") + "/log", "search-layouts", "Account"});
  EXPECT_EQ(ended.exitCode, 2);
  EXPECT_THAT(ended.err, HasSubstr(folder.file("absent")));
}

/// A command whose output cannot be written, because of what the shell did `before` and where it goes.
class UnwritableOutputTest : public CommandFixture {
 protected:
  void expectAnError(const std::string& before, const std::string& output,
                     const std::string& told = "vellora: cannot write to standard output\n") const {
    const auto ended =
        ChildProcess::run("/bin/sh",
                          {"-c", before + "'" VELLORA "' --server " + server->url() + " --cache " +
                                     cacheFile + " search-layouts Account " + output + "; echo exit $?"},
                          options);
    EXPECT_EQ(ended.out, "exit 1\n");
    EXPECT_EQ(ended.err, told);
  }
};

TEST_F(UnwritableOutputTest, AFullDiskIsAnError) {
  expectAnError("", "> /dev/full");
}

TEST_F(UnwritableOutputTest, AReaderThatLeftIsAnExitCodeNotACrash) {
  const std::string pipe = "'" + folder.file("pipe") + "'";
  expectAnError("mkfifo " + pipe + "; exec 3<>" + pipe + " 4>" + pipe + " 3<&-; ", ">&4", "");
}

}  // namespace
}  // namespace vellora::command
