#include "apps/vellora/command/Session.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/ScriptedServer.h"
#include "tests/apps/vellora/CommandFixture.h"
#include "tests/support/NetworkAnswer.h"
#include "tests/support/Requests.h"

namespace vellora::command {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr auto soon = std::chrono::milliseconds(30);
constexpr const char* themePath = "/services/data/v50.0/theme";
constexpr const char* sObjectsPath = "/services/data/v50.0/sobjects";

/// How the answer to `path` is blamed.
std::string answerTo(const std::string& path) {
  return "the answer of the server to " + path + " cannot be used: ";
}

class SessionTest : public CommandFixture {};

TEST_F(SessionTest, OpensAHostWhoseCacheHasNotFailed) {
  Arguments arguments;
  arguments.server = server->url();
  arguments.cacheFile = cacheFile;
  const auto session = std::get<0>(Session::open(arguments));
  EXPECT_TRUE(session->api().cache->save(Data("text"), "key"));
  EXPECT_EQ(session->cacheFailure(), std::nullopt);
}

TEST_F(SessionTest, KnowsItsTokenBeforeAnythingIsSent) {
  Arguments arguments;
  arguments.server = server->url();
  arguments.cacheFile = cacheFile;
  arguments.tokenFile = folder.file("token");
  writeFile(*arguments.tokenFile, "canary-7f3a91\n");
  const auto session = std::get<0>(Session::open(arguments));
  EXPECT_EQ(session->secrets()->cleaned("name: canary-7f3a91"), "name: [token]");
  EXPECT_THAT(server->requests(), testing::IsEmpty());
}

TEST_F(SessionTest, ACacheThatIsGivenTakesThePlaceOfTheArgumentsOwn) {
  Arguments arguments;
  arguments.server = server->url();
  arguments.cacheFile = cacheFile;
  const auto cache = std::make_shared<hostkit::MemoryCache>();
  EXPECT_EQ(std::get<0>(Session::open(arguments, cache))->api().cache, cache);
  EXPECT_FALSE(std::filesystem::exists(cacheFile));
}

TEST_F(SessionTest, AnAddressThatCannotBeUsedLeavesNoCacheBehind) {
  Arguments arguments;
  arguments.server = "ftp://records.example";
  arguments.cacheFile = cacheFile;
  EXPECT_EQ(std::get<1>(Session::open(arguments)).exit, ExitCode::usage);
  EXPECT_FALSE(std::filesystem::exists(cacheFile));
}

TEST_F(SessionTest, ALookupAsksOnlyForWhatHasChangedSinceTheRunBefore) {
  const auto bytesOf = [&](const std::vector<std::string>& arguments) {
    const auto before = server->bytesSent();
    EXPECT_EQ(run(arguments).exitCode, 0);
    return server->bytesSent() - before;
  };
  const auto first = bytesOf({"names", "Account"});
  const auto again = bytesOf({"--cache-timeout", "0", "names", "Account"});
  EXPECT_GT(again, 0U);
  EXPECT_LT(again * 10, first) << again << " bytes of " << first;
  EXPECT_EQ(run({"--cache-timeout", "0", "names", "Account"}).out, run({"names", "Account"}).out);
}

TEST_F(SessionTest, AServerThatRefusesIsLeftAlone) {
  testkit::ScriptedServer busy;
  busy.replyAlways(testkit::ScriptedServer::http("503 Busy", "", {"Retry-After: 1000"}));
  Arguments arguments;
  arguments.server = busy.url();
  arguments.cacheFile = cacheFile;
  const auto session = std::get<0>(Session::open(arguments));
  for (const char* path : {themePath, sObjectsPath})
    EXPECT_TRUE(tests::answerTo(*session->api().network, tests::get(path)).error) << path;
  EXPECT_EQ(busy.requests().size(), 1U);
}

TEST_F(SessionTest, TheListThatTheLibraryCannotReadIsBlamedThoughBothAreUnderWay) {
  for (const std::string bad : {themePath, sObjectsPath}) {
    const std::string good = bad == themePath ? sObjectsPath : themePath;
    for (const bool badIsFirst : {true, false}) {
      server->setFault(bad, Fault::garbage().after(badIsFirst ? soon : 2 * soon));
      server->setFault(good, Fault::delay(badIsFirst ? 2 * soon : soon));
      const auto ended = run({"--cache-timeout", "0", "status"});
      EXPECT_EQ(ended.exitCode, 5);
      EXPECT_THAT(ended.err, StartsWith("vellora: loading failed: " + answerTo(bad))) << badIsFirst;
    }
  }
}

TEST_F(SessionTest, TheListThatTheLibraryCannotReadIsBlamedWhileTheOtherHasNoAnswer) {
  server->setFault(themePath, Fault::errorBody());
  server->setFault(sObjectsPath, Fault::drop());
  const auto ended = run({"--json", "status"});
  EXPECT_THAT(ended.out, HasSubstr(R"("state":"failed","error":")"));
  EXPECT_THAT(ended.err, HasSubstr(sObjectsPath));
}

TEST_F(SessionTest, AnErrorStatusIsBlamedInTheServersOwnWords) {
  server->setFault(themePath, Fault::fail(401));
  EXPECT_EQ(run({"status"}).err,
            "vellora: loading failed: 401 for /services/data/v50.0/theme: "
            "The server was told to fail; the token is missing, expired or wrong: give a valid one with "
            "--token-file FILE\n");
}

}  // namespace
}  // namespace vellora::command
