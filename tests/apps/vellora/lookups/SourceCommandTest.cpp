#include <filesystem>
#include <string>

#include "hostkit/cache/CacheArchive.h"
#include "tests/apps/vellora/CommandFixture.h"
#include "vellora/Platform/Values/Date.h"

// From where answers come, and what is said of those that are old.

namespace vellora::command {
namespace {

using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

class SourceCommandTest : public CommandFixture {
 protected:
  /// Fills the cache, and sets it back by three days and a bit.
  void fillThreeDaysAgo(const std::vector<std::string>& words) const {
    ASSERT_EQ(run(words).exitCode, 0);
    const auto exported = ChildProcess::run(VELLORA, {"--cache", cacheFile, "cache", "export"}, options);
    const auto then = Date::since1970(now().secondsSince1970() - 3 * 86400.0 - 100);
    const auto archive = hostkit::CacheArchive::decode(Data(exported.out)).value().fetchedAt(then);
    writeFile(folder.file("old"), std::string(archive.encode().value().view()));
    ASSERT_EQ(
        ChildProcess::run(VELLORA, {"--cache", cacheFile, "cache", "import", "--replace", folder.file("old")},
                          options)
            .exitCode,
        0);
    server->clearRequests();
  }

  ChildProcess::Ended runWithoutServer(std::vector<std::string> words) const {
    words.insert(words.begin(), {"--cache", cacheFile});
    return ChildProcess::run(VELLORA, words, options);
  }
};

TEST_F(SourceCommandTest, OfflineTheCacheAloneAnswersAndNoServerIsNeeded) {
  const auto online = run({"--json", "names", "Account"});
  server->clearRequests();
  const auto offline = run({"--offline", "--cache-timeout", "0", "--json", "names", "Account"});
  EXPECT_EQ(offline.exitCode, 0) << offline.err;
  EXPECT_EQ(offline.out, online.out);
  EXPECT_THAT(server->requests(), IsEmpty());
  EXPECT_EQ(runWithoutServer({"--offline", "--json", "names", "Account"}).out, online.out);
}

TEST_F(SourceCommandTest, WhatIsNotInTheCacheOfflineIsExitCodeThreeAndSaysHowToAsk) {
  ASSERT_EQ(run({"search-layouts", "Account"}).exitCode, 0);
  const auto layouts = runWithoutServer({"--offline", "search-layouts", "Account", "Contact"});
  EXPECT_EQ(layouts.exitCode, 3);
  EXPECT_THAT(layouts.out, StartsWith("Account\n"));
  EXPECT_EQ(
      layouts.err,
      "vellora: no search layout for Contact: not in the cache; leave --offline out to ask the server\n");
  for (const std::string command : {"names", "ids"}) {
    const auto types = runWithoutServer({"--offline", command, "Account"});
    EXPECT_EQ(types.exitCode, 3);
    EXPECT_THAT(types.err, HasSubstr("not in the cache; leave --offline out to ask the server"));
  }
  const auto list = runWithoutServer({"--offline", "list"});
  EXPECT_EQ(list.exitCode, 3);
  EXPECT_EQ(list.err, "vellora: no object types: not in the cache; leave --offline out to ask the server\n");
}

TEST_F(SourceCommandTest, OfflineACacheThatIsNotThereIsNotMade) {
  const auto ended = runWithoutServer({"--offline", "names", "Account"});
  EXPECT_EQ(ended.exitCode, 7);
  EXPECT_EQ(ended.err, "vellora: there is no cache " + cacheFile +
                           "; ask the server once, without --offline, to fill it\n");
  EXPECT_FALSE(std::filesystem::exists(cacheFile));
}

TEST_F(SourceCommandTest, RefreshAsksTheServerThoughTheCacheIsFresh) {
  for (const std::string command : {"names", "search-layouts"}) {
    ASSERT_EQ(run({command, "Account"}).exitCode, 0);
    server->clearRequests();
    EXPECT_EQ(run({command, "Account"}).exitCode, 0);
    EXPECT_THAT(server->requests(), IsEmpty());
    EXPECT_EQ(run({"--refresh", command, "Account"}).exitCode, 0);
    EXPECT_THAT(server->requests(), SizeIs(command == "names" ? 2 : 1));
  }
}

TEST_F(SourceCommandTest, OfflineAndRefreshContradictEachOther) {
  const auto ended = run({"--offline", "--refresh", "names", "Account"});
  EXPECT_EQ(ended.exitCode, 2);
  EXPECT_THAT(ended.err, HasSubstr("--offline excludes --refresh"));
}

TEST_F(SourceCommandTest, AnOldAnswerSaysHowOldItIsAndWhyNothingNewerCame) {
  fillThreeDaysAgo({"search-layouts", "Account"});
  server->setFault(RecordsServer::everything, Fault::fail(503));
  EXPECT_EQ(run({"search-layouts", "Account"}).err,
            "vellora: from the cache, 3 days old; the server answered: 503 for "
            "/services/data/v50.0/search/layout: The server was told to fail; the server is in trouble: try "
            "again later\n");
  server->stop();
  const auto gone = run({"search-layouts", "Account"});
  EXPECT_EQ(gone.exitCode, 0);
  EXPECT_THAT(
      gone.err,
      StartsWith("vellora: from the cache, 3 days old; the server did not answer: no connection to "));
}

TEST_F(SourceCommandTest, AnOldListSaysSoForIdsNamesAndTheWholeList) {
  fillThreeDaysAgo({"list"});
  server->setFault(RecordsServer::everything, Fault::garbage());
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"ids", "001000000000009"}, {"names", "Account"}, {"list"}}) {
    const auto ended = run(words);
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_THAT(ended.err, ContainsRegex("^vellora: from the cache, 3 days old; the answer of the server to "
                                         "/services/data/v50.0/[a-z]* cannot be used: "));
  }
}

TEST_F(SourceCommandTest, AServerThatKeepsAnOldAnswerWaitingIsNamed) {
  fillThreeDaysAgo({"search-layouts", "Account"});
  server->setFault(RecordsServer::everything, Fault::never());
  const std::string path = "/services/data/v50.0/search/layout";
  const auto [ended, wait] = runUntilAsked(path, {"search-layouts", "Account"});
  EXPECT_EQ(ended.err, "vellora: from the cache, 3 days old; no answer to " + path + " within " + wait +
                           " s; give it longer with --wait SECONDS\n");
}

TEST_F(SourceCommandTest, OfflineAnOldAnswerSaysHowOldItIs) {
  fillThreeDaysAgo({"list"});
  EXPECT_EQ(runWithoutServer({"--offline", "names", "Account"}).err, "vellora: from the cache, 3 days old\n");
  EXPECT_EQ(runWithoutServer({"--offline", "--cache-timeout", "1000000", "names", "Account"}).err, "")
      << "not older than the time-out";
}

TEST_F(SourceCommandTest, EachRefusalSaysInOneLineWhatToDo) {
  const auto saidAfter = [this](int status) {
    server->setFault(RecordsServer::everything, Fault::fail(status));
    return run({"search-layouts", "Account"}).err;
  };
  EXPECT_THAT(saidAfter(401), EndsWith("; the token is missing, expired or wrong: give a valid one with "
                                       "--token-file FILE\n"));
  EXPECT_THAT(saidAfter(403),
              EndsWith("; the server forbids it to this token: give that of a user who may see "
                       "it with --token-file FILE\n"));
  EXPECT_THAT(saidAfter(404), EndsWith("; check that a records server is at the address of --server\n"));
  EXPECT_THAT(saidAfter(502), EndsWith("; the server is in trouble: try again later\n"));
  server->stop();
  EXPECT_THAT(run({"search-layouts", "Account"}).err,
              EndsWith("check the address, and that the server runs\n"));
}

TEST_F(SourceCommandTest, HttpsToAServerThatSpeaksHttpSaysWhatToCheck) {
  std::string address = server->url();
  address.replace(0, std::string("http").size(), "https");
  const auto ended = ChildProcess::run(
      VELLORA, {"--server", address, "--cache", cacheFile, "search-layouts", "Account"}, options);
  EXPECT_EQ(ended.exitCode, 5);
  EXPECT_THAT(ended.err, ContainsRegex("^vellora: no search layout for Account: no secure connection to .*: "
                                       "check the server's certificate, and that it speaks https"));
}

TEST_F(SourceCommandTest, StatusOfflineTellsWhatIsCached) {
  ASSERT_EQ(run({"list"}).exitCode, 0);
  const auto cached = runWithoutServer({"--offline", "status"});
  EXPECT_EQ(cached.exitCode, 0) << cached.err;
  EXPECT_THAT(cached.out,
              StartsWith("STATE         offline\nREADY         yes\nTHEMES        fresh, fetched "));
  ASSERT_EQ(ChildProcess::run(VELLORA, {"--cache", cacheFile, "cache", "purge", "--all"}, options).exitCode,
            0);
  const auto empty = runWithoutServer({"--offline", "--json", "status"});
  EXPECT_EQ(empty.exitCode, 3);
  EXPECT_EQ(empty.out,
            "{\"state\":\"offline\",\"primedAndCached\":false,\"themes\":{\"fresh\":false},"
            "\"sObjects\":{\"fresh\":false}}\n");
  EXPECT_EQ(empty.err, "vellora: not everything is cached; leave --offline out to ask the server\n");
}

}  // namespace
}  // namespace vellora::command
