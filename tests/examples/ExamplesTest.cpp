#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "apps/records-server/RecordsServer.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/HttpClient.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::tests {
namespace {

using recordsserver::DataSet;
using recordsserver::RecordsServer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* record = "001000000000009";

/// A server that wants a token.
std::unique_ptr<RecordsServer> startGuarded(const std::string& token) {
  RecordsServer::Options options;
  options.token = token;
  return RecordsServer::start(DataSet::builtIn(), std::move(options)).value();
}

/// The examples as somebody who tries them runs them.
class ExamplesTest : public testing::Test {
 protected:
  void SetUp() override {
    auto started = RecordsServer::start(DataSet::builtIn());
    ASSERT_TRUE(started);
    server = std::move(started).value();
  }

  ChildProcess::Ended run(const std::string& program, const std::vector<std::string>& arguments,
                          const std::map<std::string, std::string>& environment = {}) const {
    std::vector<std::string> all{"-C", folder.path().string(), program};  // where they leave their files
    all.insert(all.end(), arguments.begin(), arguments.end());
    return ChildProcess::run("/usr/bin/env", all, {.input = {}, .environment = environment});
  }

  /// Saves the server's answer where the host that answers from a folder looks for it.
  void keepAnswer(const std::string& path) const {
    const auto file = std::filesystem::path(folder.file("answers") + path);
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << test::httpGet(server->port(), path).body;
  }

  const TemporaryFolder folder;
  std::unique_ptr<RecordsServer> server;
};

TEST_F(ExamplesTest, LabelShowsTheLabelOfARecordsTypeOrWhyItCannot) {
  const auto ended = run(LABEL, {server->url(), record});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_EQ(ended.out, "Account\n");
  EXPECT_EQ(run(LABEL, {server->url(), "zzz"}).out, "zzz: unknown to the server\n");
  EXPECT_EQ(run(LABEL, {"no address", record}).exitCode, 1);
  EXPECT_EQ(run(LABEL, {}).exitCode, 2);
}

TEST_F(ExamplesTest, EmbedTellsTheTypeOfARecordOrWhyItCannot) {
  const auto ended = run(EMBED, {server->url(), record});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_EQ(ended.out, "Account\n");
  EXPECT_EQ(run(EMBED, {server->url(), "zzz"}).out, "zzz: unknown to the server\n");
  EXPECT_EQ(run(EMBED, {"http://127.0.0.1:1", ""}).out, ": not asked: The key is empty.\n");
  EXPECT_EQ(run(EMBED, {"no address", record}).exitCode, 1);
}

TEST_F(ExamplesTest, EmbedHandsOverTheTokenInTheEnvironment) {
  const auto guarded = startGuarded("some-token");
  const std::vector<std::string> question{guarded->url(), record};
  EXPECT_THAT(run(EMBED, question).out, HasSubstr("001000000000009: could not be asked: 401"));
  EXPECT_EQ(run(EMBED, question, {{"RECORDS_TOKEN", "some-token"}}).out, "Account\n");
}

TEST_F(ExamplesTest, EmbedKeepsWhatAServerSaidForThatServerAlone) {
  const auto other = RecordsServer::start(DataSet::builtIn());
  ASSERT_TRUE(other);
  EXPECT_EQ(run(EMBED, {server->url(), record}).out, "Account\n");
  server->clearRequests();
  EXPECT_EQ(run(EMBED, {server->url(), record}).out, "Account\n");
  EXPECT_THAT(server->requests(), IsEmpty()) << "its cache answers";
  other.value()->setFault(RecordsServer::everything, recordsserver::Fault::fail(404));
  EXPECT_THAT(run(EMBED, {other.value()->url(), record}).out, HasSubstr("could not be asked: 404"));
}

TEST_F(ExamplesTest, AccountsAskEachServerInBothThemesAndLeaveNothingBehind) {
  const auto guarded = startGuarded("ben's-token");
  std::ofstream(folder.file("ann")) << "any-token\n";
  std::ofstream(folder.file("ben")) << "ben's-token\n";
  const auto ended = run(ACCOUNTS, {record, server->url(), "ann", "ann", guarded->url(), "ben", "ben"});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  const std::string both = "Account in light: 2F6FDE\nAccount in dark: 8FB4F5\n";
  EXPECT_EQ(ended.out, both + both);
  EXPECT_EQ(server->requests().size(), 2U) << "the other theme takes no request";
  EXPECT_EQ(server->recordedRequests().front().header("Accept-Language"), "en");
  for (const auto& left : std::filesystem::directory_iterator(folder.file("caches"))) {
    EXPECT_EQ(left.path().filename(), ".vellora-key");
  }
}

TEST_F(ExamplesTest, AskTellsOfEachRecordInEachOfTheThreeWaysAndWhileItWatches) {
  const auto ended = run(ASK, {server->url(), record, "zzz000000000000"});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  const std::string once = "001000000000009: Account\nzzz000000000000: unknown to the server\n";
  EXPECT_EQ(ended.out, once + once + once + once);
}

TEST_F(ExamplesTest, TelemetryPrintsWhatTheObserverWasToldAsOpenMetricsWithoutAKey) {
  const auto ended = run(TELEMETRY, {server->url(), record, "zzz000000000000"});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  // Either question may be the first to reach a list.
  for (const auto* line :
       {"# TYPE vellora_questions counter\n",
        "vellora_questions_total\\{kind=\"load\",end=\"answered\",from=\"nowhere\"\\} 1\n",
        "vellora_questions_total\\{kind=\"records\",end=\"answered\",from=\"(cache|server)\"\\} 1\n",
        "vellora_missing_keys_total\\{kind=\"records\",why=\"unknown\"\\} 1\n",
        "vellora_requests_total\\{path=\"/services/data/v50.0/theme\",cause=\"(load|records)\","
        "outcome=\"body\"\\} 1\n",
        "vellora_question_seconds_count\\{kind=\"records\"\\} 1\n"}) {
    EXPECT_THAT(ended.out, testing::ContainsRegex(line));
  }
  EXPECT_THAT(ended.out, testing::EndsWith("# EOF\n"));
  EXPECT_THAT(ended.out, testing::Not(HasSubstr("000000000009")));
}

TEST_F(ExamplesTest, SignInSaysWhenTheServerRefusesTheToken) {
  std::ofstream(folder.file("token")) << "some-token\n";
  const auto answered = run(SIGN_IN, {server->url(), "token", record});
  EXPECT_EQ(answered.exitCode, 0) << answered.err;
  EXPECT_EQ(answered.out, "001000000000009 is of type Account\n");

  server->setFault(RecordsServer::everything, recordsserver::Fault::fail(401));
  const auto refused = run(SIGN_IN, {server->url(), "token", record});
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_EQ(refused.err, "sign in again\n");
}

TEST_F(ExamplesTest, OwnHostAnswersFromItsFolder) {
  keepAnswer("/services/data/v50.0/sobjects");
  keepAnswer("/services/data/v50.0/theme");
  const auto ended = run(OWN_HOST, {folder.file("answers"), record});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_EQ(ended.out, "Account\n");
}

#ifdef C_OWN_HOST
TEST_F(ExamplesTest, AHostInCAnswersFromItsFolder) {
  keepAnswer("/services/data/v50.0/sobjects");
  keepAnswer("/services/data/v50.0/theme");
  const auto ended = run(C_OWN_HOST, {folder.file("answers"), record});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_EQ(ended.out, "Account\n");
  EXPECT_EQ(
      run(C_OWN_HOST, {folder.file("absent"), record}).out,
      "001000000000009: could not be asked: There is no such answer. (/services/data/v50.0/sobjects)\n");
}
#endif

TEST_F(ExamplesTest, OwnHostLogsWhatIsMissing) {
  const auto ended = run(OWN_HOST, {folder.file("absent"), record});
  EXPECT_EQ(ended.out, "unknown\n");
  // The themes are loaded first; their failure is enough for the lookup to go on.
  EXPECT_THAT(ended.err, HasSubstr("error: VelloraService: ThemeDataServiceError: There is no answer for "
                                   "/services/data/v50.0/theme.\n"));
}

TEST_F(ExamplesTest, SeededStartAnswersWithoutANetworkFromWhatItShips) {
  const std::string used = folder.file("used.sqlite");
  const std::string seed = folder.file("seed.json");
  ASSERT_EQ(run(VELLORA, {"--server", server->url(), "--cache", used, "ids", record}).exitCode, 0);
  ASSERT_EQ(run(VELLORA, {"--cache", used, "cache", "export", seed}).exitCode, 0);
  server->clearRequests();

  const auto first = run(SEEDED_START, {server->url(), seed, folder.file("app.sqlite"), record});
  EXPECT_EQ(first.exitCode, 0) << first.err;
  EXPECT_EQ(first.out, "Account\n");
  EXPECT_EQ(first.err, "");
  EXPECT_THAT(server->requests(), IsEmpty()) << "what it shipped is fresh";
  EXPECT_EQ(run(SEEDED_START, {server->url(), seed, folder.file("app.sqlite"), record}).out, "Account\n");
}

TEST_F(ExamplesTest, SeededStartRefusesWhatIsNoSeed) {
  std::ofstream(folder.file("seed.json")) << "{}";
  const auto ended =
      run(SEEDED_START, {server->url(), folder.file("seed.json"), folder.file("app.sqlite"), record});
  EXPECT_EQ(ended.exitCode, 1);
  EXPECT_EQ(ended.err, "This is not an archive of a cache. Choose a file that was written as one.\n");
}

}  // namespace
}  // namespace vellora::tests
