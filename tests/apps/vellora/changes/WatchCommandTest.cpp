#include "apps/vellora/changes/WatchCommand.h"

#include <signal.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "apps/vellora/command/CommandCatalog.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "hostkit/secrets/KnownSecrets.h"
#include "testkit/RecordingLogger.h"
#include "testkit/StubNetwork.h"
#include "tests/apps/vellora/CommandFixture.h"
#include "tests/apps/vellora/changes/ChangedData.h"

namespace vellora::command {
namespace {

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;
using testkit::StubNetwork;

class WatchCommandTest : public CommandFixture {
 protected:
  /// Fills the cache as if the demo server had changed since: it holds what the other data say.
  void fillWithChangedData() const {
    const auto changed = RecordsServer::start(changedData(folder.path() / "data")).value();
    const std::string other = folder.file("other.sqlite");
    for (const std::vector<std::string>& question :
         {std::vector<std::string>{"names", "Account"}, {"search-layouts", "Account"}}) {
      std::vector<std::string> words{"--server", changed->url(), "--cache", other};
      words.insert(words.end(), question.begin(), question.end());
      ASSERT_EQ(ChildProcess::run(VELLORA, words, options).exitCode, 0);
    }
    const std::string archive = folder.file("archive");
    ASSERT_EQ(ChildProcess::run(VELLORA, {"--cache", other, "cache", "export", archive}, options).exitCode,
              0);
    ASSERT_EQ(
        ChildProcess::run(VELLORA, {"--cache", cacheFile, "cache", "import", archive}, options).exitCode, 0);
  }
};

TEST_F(WatchCommandTest, TheFirstRefreshShowsWhatHasChangedSinceTheCacheWasFilled) {
  fillWithChangedData();
  const auto ended = run({"watch", "--times", "1"});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_EQ(ended.err, "");
  EXPECT_THAT(ended.out, ContainsRegex("^20[0-9-]+T[0-9:]+Z\nCHANGE +WHAT +NAME +PROPERTY +BEFORE +AFTER\n"
                                       "changed +type +Account +label +Customer +Account\n"
                                       "changed +type +Account +colour +FFDD00 +2F6FDE\n"
                                       "added +type +AuditEntry\n"
                                       "removed +type +Widget\n$"));
  EXPECT_EQ(run({"watch", "--times", "1"}).out, "") << "nothing has changed since";
}

TEST_F(WatchCommandTest, JsonIsALineForEachTypeOrLayout) {
  fillWithChangedData();
  const auto ended = run({"--json", "watch", "Account", "--times", "1"});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_THAT(
      ended.out,
      MatchesRegex(
          R"(\{"time":"20[0-9T:Z-]+","what":"type","name":"Account","change":"changed","properties":\[)"
          R"(\{"property":"label","before":"Customer","after":"Account"\},)"
          R"(\{"property":"colour","before":"FFDD00","after":"2F6FDE"\}\]\})"
          "\n"
          R"(\{"time":"20[0-9T:Z-]+","what":"search layout","name":"Account","change":"changed",.*\})"
          "\n"));
}

TEST_F(WatchCommandTest, ASecondRunTakesAHundredthOfTheBytesWhereNothingHasChanged) {
  server = RecordsServer::start(DataSet::generated(2000)).value();
  const auto bytesOfARun = [&] {
    const auto before = server->bytesSent();
    const auto ended = run({"watch", "--times", "1"});
    EXPECT_EQ(ended.exitCode, 0) << ended.err;
    EXPECT_EQ(ended.out, "");
    return server->bytesSent() - before;
  };
  const auto first = bytesOfARun();
  const auto second = bytesOfARun();
  EXPECT_GT(first, 3'000'000U);
  EXPECT_GT(second, 0U);
  EXPECT_LT(second * 100, first) << second << " bytes of " << first;
  RecordProperty("bytes_of_a_first_run", std::to_string(first));
  RecordProperty("bytes_of_a_second_run", std::to_string(second));
}

TEST_F(WatchCommandTest, ItEndsAfterSoManyRefreshes) {
  const auto ended = run({"watch", "--times", "3", "--interval", "0"});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_EQ(ended.out, "");
  EXPECT_EQ(server->requests().size(), 2U * 4) << "both lists at the beginning and at each refresh";
}

TEST_F(WatchCommandTest, CtrlCEndsItAsAnswered) {
  ChildProcess running(VELLORA, withServer({"watch", "--interval", "100000"}), options);
  ASSERT_TRUE(server->waitForRequests(1));
  running.sendSignal(SIGINT);
  EXPECT_EQ(running.wait().exitCode, 0);
}

TEST_F(WatchCommandTest, CtrlCEndsItWhileTheServerHangs) {
  server->setFault(RecordsServer::everything, Fault::never());
  ChildProcess running(VELLORA, withServer({"watch"}), options);
  ASSERT_TRUE(server->waitForRequests(1));
  running.sendSignal(SIGINT);
  EXPECT_EQ(running.wait().exitCode, 0);
}

TEST_F(WatchCommandTest, ARefreshThatFailsIsTold) {
  ASSERT_EQ(run({"names", "Account"}).exitCode, 0);
  server->setFault(RecordsServer::everything, Fault::fail(500));
  const auto ended = run({"watch", "--times", "1"});
  EXPECT_EQ(ended.exitCode, 5);
  EXPECT_EQ(ended.out, "");
  EXPECT_THAT(ended.err, StartsWith("vellora: not refreshed: "));
}

TEST_F(WatchCommandTest, WithoutAServerOrACacheThereIsNothingToWatch) {
  server->setFault(RecordsServer::everything, Fault::fail(500));
  const auto ended = run({"watch", "--times", "1"});
  EXPECT_EQ(ended.exitCode, 5);
  EXPECT_THAT(ended.err, StartsWith("vellora: no object types: "));
}

TEST_F(WatchCommandTest, WhatNobodyKnowsYetIsToldAndWatched) {
  const auto ended = run({"watch", "Widget", "--times", "1"});
  EXPECT_EQ(ended.exitCode, 0);
  EXPECT_EQ(ended.err, "vellora: there is no object type Widget yet, nor a record of that id\n");
}

TEST_F(WatchCommandTest, AnIntervalIsANumberOfSeconds) {
  const auto ended = run({"watch", "--interval", "-1"});
  EXPECT_EQ(ended.exitCode, 2);
  EXPECT_THAT(ended.err, HasSubstr("--interval must be a number of seconds, 0 or more"));
}

TEST_F(WatchCommandTest, ItEndsAfterOneRefreshAtLeast) {
  server->stop();  // so that one which is taken ends, too
  for (const std::string times : {"0", "-1", "1.5", "many"}) {
    const auto ended = run({"watch", "--times", times});
    EXPECT_EQ(ended.exitCode, 2) << times;
    EXPECT_THAT(ended.err, StartsWith("vellora: --times: must be a whole number above 0"));
  }
  options.environment["VELLORA_TIMES"] = "-1";
  EXPECT_EQ(run({"watch"}).exitCode, 2);
}

TEST_F(WatchCommandTest, ItPausesAsLongAsItIsToldBetweenRefreshes) {
  const auto network = std::make_shared<StubNetwork>();
  network->answer("/services/data/v50.0/sobjects", StubNetwork::body(R"({"sobjects":[]})"));
  network->answer("/services/data/v50.0/theme", StubNetwork::body(R"({"themeItems":[]})"));
  const RequiredAPI host{network, std::make_shared<hostkit::MemoryCache>(),
                         std::make_shared<testkit::RecordingLogger>()};
  Arguments arguments;
  arguments.changes.interval = 5;
  arguments.changes.times = 3;
  const CommandCatalog catalog(arguments, host);
  Watcher watcher(catalog, arguments, {});
  std::vector<std::size_t> requestsAtPauses;
  const auto pause = [&](std::chrono::duration<double> time) {
    EXPECT_EQ(time, std::chrono::seconds(5));
    requestsAtPauses.push_back(network->count("/services/data/v50.0/sobjects"));
  };
  EXPECT_EQ(watch(watcher, arguments, hostkit::KnownSecrets(), pause), ExitCode::answered);
  EXPECT_THAT(requestsAtPauses, ElementsAre(2, 3));
  EXPECT_EQ(network->count("/services/data/v50.0/sobjects"), 4U);
}

TEST_F(WatchCommandTest, VerboseTellsOfEachRequestAndOfEachRefresh) {
  ASSERT_EQ(run({"names", "Account"}).exitCode, 0);
  const auto ended = run({"-v", "watch", "--times", "1"});
  EXPECT_EQ(ended.exitCode, 0);
  EXPECT_THAT(ended.err, StartsWith("vellora: 44 found, 0 missing, from the cache"));
  EXPECT_THAT(
      ended.err,
      ContainsRegex("\nvellora: watching 44 object types, every 60 s; Ctrl-C ends\n(.*\n)*vellora: GET "
                    "/services/data/v50.0/sobjects: [0-9]+ bytes after "));
  EXPECT_THAT(ended.err, ContainsRegex("\nvellora: 20[0-9T:Z-]+: no change\n$"));
}

TEST_F(WatchCommandTest, WhoWantsItQuietIsToldNothingOfWhatNobodyKnowsYet) {
  const auto ended = run({"-q", "watch", "Widget", "--times", "1"});
  EXPECT_EQ(ended.exitCode, 0);
  EXPECT_EQ(ended.err, "");
}

}  // namespace
}  // namespace vellora::command
