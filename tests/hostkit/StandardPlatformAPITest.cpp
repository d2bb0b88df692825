#include "hostkit/StandardPlatformAPI.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/cache/memory/MemoryCache.h"
#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "testkit/RecordingLogger.h"
#include "testkit/SilentLogger.h"
#include "testkit/StubNetwork.h"
#include "tests/hostkit/bodies/BodiesCache.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/NetworkAnswer.h"
#include "tests/support/Requests.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TlsServer.h"
#include "vellora/DataServices/SObjectsCache.h"
#include "vellora/Host/LogLevel.h"
#include "vellora/Host/Table.h"
#include "vellora/Platform/Values/Data.h"

namespace vellora::hostkit {
namespace {

struct SilentNetwork final : CorvaneSDK::Network {
  void sendRequest(const CorvaneSDK::NetRequest&, Completion completion) override {
    completion(std::nullopt, std::nullopt, std::nullopt);
  }
};

TEST(StandardPlatformAPITest, HandsOutTheFacilitiesThatItWasGiven) {
  const auto network = std::make_shared<SilentNetwork>();
  const auto logger = std::make_shared<testkit::SilentLogger>();

  StandardPlatformAPI api(network, nullptr, logger);

  EXPECT_EQ(api.network(), network);
  EXPECT_EQ(api.logger(), logger);
}

TEST(StandardPlatformAPITest, GrantsNothingOfAKindThatItWasNotGiven) {
  StandardPlatformAPI api(nullptr, nullptr, nullptr);

  EXPECT_EQ(api.network(), nullptr);
  EXPECT_EQ(api.cache(), nullptr);
  EXPECT_EQ(api.logger(), nullptr);
}

TEST(StandardPlatformAPITest, TakesAFacilityOfOnesOwnInPlaceOfAReadyMadeOne) {
  StandardPlatformAPI::Options withNetwork;
  withNetwork.server = "no address, which nobody looks at";
  withNetwork.network = std::make_shared<SilentNetwork>();
  const auto ofNetwork = StandardPlatformAPI::make(withNetwork);
  ASSERT_TRUE(ofNetwork.hasValue());
  EXPECT_EQ(ofNetwork.value()->network(), withNetwork.network);
  EXPECT_TRUE(ofNetwork.value()->cache());

  StandardPlatformAPI::Options withCache;
  withCache.server = "https://records.example";
  withCache.cacheFile = "/dev/null/no such folder";
  withCache.cache = std::make_shared<MemoryCache>();
  const auto ofCache = StandardPlatformAPI::make(withCache);
  ASSERT_TRUE(ofCache.hasValue());
  EXPECT_EQ(ofCache.value()->cache(), withCache.cache);
  EXPECT_TRUE(ofCache.value()->network());
}

TEST(StandardPlatformAPITest, MakesTheReadyMadeFacilities) {
  const vellora::tests::TemporaryFolder folder;
  const auto logger = std::make_shared<testkit::SilentLogger>();
  StandardPlatformAPI::Options options;
  options.server = "https://records.example";
  options.cacheFile = folder.file("new/cache.db");
  options.logger = logger;

  const auto api = StandardPlatformAPI::make(options);

  ASSERT_TRUE(api.hasValue());
  EXPECT_NE(api.value()->network(), nullptr);
  EXPECT_EQ(api.value()->logger(), logger);
  ASSERT_NE(api.value()->cache(), nullptr);
  EXPECT_TRUE(api.value()->cache()->save(Data(std::string("1")), "a"));
  EXPECT_TRUE(std::filesystem::exists(folder.file("new/cache.db")));
}

TEST(StandardPlatformAPITest, KeepsTheTokenOutOfTheLogOnceItHasBeenSent) {
  vellora::tests::ScriptedServer server;
  server.reply(vellora::tests::ScriptedServer::http("200 OK", "{}"));
  const auto logger = std::make_shared<testkit::RecordingLogger>();
  const auto api =
      StandardPlatformAPI::make({.server = server.url(),
                                 .token = [] { return std::optional<std::string>("abc-secret99"); },
                                 .logger = logger})
          .value();
  EXPECT_EQ(vellora::tests::answerTo(*api->network(), vellora::tests::get("/theme")).body(), "{}");
  api->logger()->log("theme(for:), name: abc-secret99", CorvaneSDK::LogLevel::info);
  ASSERT_EQ(logger->lines().size(), 1U);
  EXPECT_EQ(logger->lines()[0].text, "theme(for:), name: [token]");
}

TEST(StandardPlatformAPITest, KeepsTheTokenOutOfTheLogBeforeAnythingIsSent) {
  const auto logger = std::make_shared<testkit::RecordingLogger>();
  const auto api =
      StandardPlatformAPI::make({.server = "https://records.example",
                                 .token = [] { return std::optional<std::string>("abc-secret99"); },
                                 .logger = logger})
          .value();
  api->logger()->log("sObjectForName(_:), name: abc-secret99", CorvaneSDK::LogLevel::info);
  ASSERT_EQ(logger->lines().size(), 1U);
  EXPECT_EQ(logger->lines()[0].text, "sObjectForName(_:), name: [token]");
}

TEST(StandardPlatformAPITest, KeepsATokenOutOfTheLogThatIsThereOnlyOnceSomethingIsSent) {
  vellora::tests::ScriptedServer server;
  server.reply(vellora::tests::ScriptedServer::http("200 OK", "{}"));
  const auto logger = std::make_shared<testkit::RecordingLogger>();
  std::optional<std::string> token;
  const auto api =
      StandardPlatformAPI::make({.server = server.url(), .token = [&] { return token; }, .logger = logger})
          .value();
  token = "abc-secret99";
  EXPECT_EQ(vellora::tests::answerTo(*api->network(), vellora::tests::get("/theme")).body(), "{}");
  api->logger()->log("theme(for:), name: abc-secret99", CorvaneSDK::LogLevel::info);
  ASSERT_EQ(logger->lines().size(), 1U);
  EXPECT_EQ(logger->lines()[0].text, "theme(for:), name: [token]");
}

TEST(StandardPlatformAPITest, LeavesTheLogAsItIsWhereANetworkOfOnesOwnHasTheTokens) {
  const auto logger = std::make_shared<testkit::RecordingLogger>();
  StandardPlatformAPI::Options options;
  options.token = [] { return std::optional<std::string>("abc-secret99"); };
  options.logger = logger;
  options.network = std::make_shared<testkit::StubNetwork>();
  const auto api = StandardPlatformAPI::make(std::move(options)).value();
  EXPECT_EQ(api->logger(), logger);
}

TEST(StandardPlatformAPITest, IsMadeWithATokenThatIsNotThereYet) {
  const auto logger = std::make_shared<testkit::RecordingLogger>();
  const auto api =
      StandardPlatformAPI::make({.server = "https://records.example",
                                 .token = []() -> std::optional<std::string> { return std::nullopt; },
                                 .logger = logger})
          .value();
  api->logger()->log("sObjectForName(_:), name: Account", CorvaneSDK::LogLevel::info);
  ASSERT_EQ(logger->lines().size(), 1U);
  EXPECT_EQ(logger->lines()[0].text, "sObjectForName(_:), name: Account");
}

TEST(StandardPlatformAPITest, NeedsNoMoreThanAServer) {
  StandardPlatformAPI::Options options;
  options.server = "https://records.example";

  const auto api = StandardPlatformAPI::make(options);

  ASSERT_TRUE(api.hasValue());
  ASSERT_NE(api.value()->cache(), nullptr);
  EXPECT_TRUE(api.value()->cache()->save(Data(std::string("1")), "a"));
  ASSERT_NE(api.value()->logger(), nullptr);
  testing::internal::CaptureStderr();
  api.value()->logger()->log("failure", CorvaneSDK::LogLevel::error);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(StandardPlatformAPITest, SendsTheTokenOverHttpToOtherMachinesOnlyWhenThatIsAllowed) {
  const auto failureOfARequest = [](bool allowed) {
    StandardPlatformAPI::Options options;
    options.server = "http://0.0.0.0:" + std::to_string(vellora::tests::closedPort());
    options.token = [] { return std::optional<std::string>("token"); };
    options.allowTokenOverPlainHttp = allowed;
    const auto api = StandardPlatformAPI::make(options).value();
    std::promise<CurlNetworkError::Kind> kind;
    api->network()->sendRequest(vellora::tests::get("/theme"), [&kind](auto, const auto& error, auto) {
      kind.set_value(error->template as<CurlNetworkError>()->kind);
    });
    return kind.get_future().get();
  };
  EXPECT_EQ(failureOfARequest(false), CurlNetworkError::Kind::unprotectedToken);
  EXPECT_EQ(failureOfARequest(true), CurlNetworkError::Kind::unreachable);
}

TEST(StandardPlatformAPITest, PassesTheObserverAndTheTokensRenewalOn) {
  vellora::tests::ScriptedServer server;
  server.reply(vellora::tests::ScriptedServer::http("401 Unauthorized"));
  server.reply(vellora::tests::ScriptedServer::http("404 Not Found"));
  std::promise<RequestOutcome> told;
  StandardPlatformAPI::Options options;
  options.server = server.url();
  options.token = [] { return std::optional<std::string>("first-token"); };
  options.renewedToken = [](const std::string& refused) { return std::optional(refused + "-renewed"); };
  options.observer = [&told](const RequestOutcome& outcome) { told.set_value(outcome); };
  const auto api = StandardPlatformAPI::make(options).value();
  api->network()->sendRequest(vellora::tests::get("/theme"), [](auto, auto, auto) {});

  EXPECT_EQ(told.get_future().get().statusCode, 404);
  ASSERT_EQ(server.requests().size(), 2U);
  EXPECT_NE(server.requests()[1].find("Bearer first-token-renewed\r\n"), std::string::npos);
}

TEST(StandardPlatformAPITest, EqualRequestsWithDifferentTokensAreNotShared) {
  vellora::tests::ScriptedServer server;
  std::string token = "first-token";
  StandardPlatformAPI::Options options;
  options.server = server.url();
  options.token = [&token] { return std::optional(token); };
  auto api = StandardPlatformAPI::make(options).value();
  for (const char* next : {"first-token", "first-token", "second-token"}) {
    token = next;
    api->network()->sendRequest(vellora::tests::get("/theme"), [](auto, auto, auto) {});
  }
  ASSERT_TRUE(server.waitForRequests(2));
  api.reset();
  EXPECT_EQ(server.requests().size(), 2U);
}

TEST(StandardPlatformAPITest, EqualRequestsAreEachSentWhereSharingIsTurnedOff) {
  vellora::tests::ScriptedServer server;
  StandardPlatformAPI::Options options;
  options.server = server.url();
  options.sharesRequests = false;
  auto api = StandardPlatformAPI::make(options).value();
  for (int time = 0; time < 3; ++time) {
    api->network()->sendRequest(vellora::tests::get("/theme"), [](auto, auto, auto) {});
  }
  EXPECT_TRUE(server.waitForRequests(3));
}

TEST(StandardPlatformAPITest, LeavesAServerAloneThatRefusesUnlessThatIsTurnedOff) {
  for (const bool pauses : {true, false}) {
    vellora::tests::ScriptedServer server;
    server.replyAlways(vellora::tests::ScriptedServer::http("503 Busy", "", {"Retry-After: 1000"}));
    StandardPlatformAPI::Options options;
    options.server = server.url();
    if (!pauses) options.pausesWhenRefused = false;
    const auto api = StandardPlatformAPI::make(options).value();
    for (const char* path : {"/theme", "/sobjects"}) {
      const auto answer = vellora::tests::answerTo(*api->network(), vellora::tests::get(path));
      EXPECT_EQ(answer.errorAs<CurlNetworkError>()->statusCode, 503);
    }
    EXPECT_EQ(server.requests().size(), pauses ? 1U : 2U);
  }
}

TEST(StandardPlatformAPITest, AsksWithAConditionForWhatItsCacheKeepsUnlessThatIsTurnedOff) {
  for (const bool asks : {true, false}) {
    vellora::tests::ScriptedServer server;
    server.replyAlways(vellora::tests::ScriptedServer::http("200 OK", "themes", {"ETag: \"1\""}));
    StandardPlatformAPI::Options options;
    options.server = server.url();
    options.cache = BodiesCache().cache;
    if (!asks) options.asksConditionally = false;
    const auto api = StandardPlatformAPI::make(options).value();
    for (int time = 0; time < 2; ++time) {
      EXPECT_EQ(vellora::tests::answerTo(*api->network(), vellora::tests::get("/theme")).body(), "themes");
    }
    EXPECT_EQ(server.requests().at(1).find("If-None-Match: \"1\"") != std::string::npos, asks);
  }
}

/// Whether what was kept under one token is asked for with a condition under another.
bool asksWithAConditionUnderAnotherToken(StandardPlatformAPI::Options options) {
  vellora::tests::ScriptedServer server;
  server.replyAlways(vellora::tests::ScriptedServer::http("200 OK", "themes", {"ETag: \"1\""}));
  std::string token;
  options.server = server.url();
  options.token = [&token] { return std::optional(token); };
  const auto api = StandardPlatformAPI::make(std::move(options)).value();
  using CorvaneSDK::Table;
  const auto table = api->cache()->createTable(
      Table::emptyWithKey(std::string(SObjectsCache::tableKey), Table::MaxAge::sevenDays));
  for (const char* next : {"first-token", "second-token"}) {
    token = next;
    EXPECT_EQ(vellora::tests::answerTo(*api->network(), vellora::tests::get("/theme")).body(), "themes");
  }
  return server.requests().at(1).find("If-None-Match: \"1\"") != std::string::npos;
}

TEST(StandardPlatformAPITest, KeepsBodiesForTheOwnerOfItsCacheFileElseForTheToken) {
  const vellora::tests::TemporaryFolder folder;
  StandardPlatformAPI::Options options;
  options.cacheOwner = "alice";
  EXPECT_FALSE(asksWithAConditionUnderAnotherToken(options)) << "there is no file";
  options.cacheFile = folder.file("cache.db");
  EXPECT_TRUE(asksWithAConditionUnderAnotherToken(options));
  options.cache = std::make_shared<MemoryCache>();
  EXPECT_FALSE(asksWithAConditionUnderAnotherToken(options)) << "the file is not opened";
}

TEST(StandardPlatformAPITest, TrustsTheAuthoritiesInTheFileThatIsNamed) {
  vellora::tests::ScriptedServer plain;
  plain.reply(vellora::tests::ScriptedServer::http("200 OK", "over TLS"));
  vellora::tests::TlsServer server(plain.port());
  StandardPlatformAPI::Options options;
  options.server = server.url();
  options.caFile = server.certificate();
  const auto api = StandardPlatformAPI::make(options).value();
  EXPECT_EQ(vellora::tests::answerTo(*api->network(), vellora::tests::get("/theme")).body(), "over TLS");
}

TEST(StandardPlatformAPITest, TellsAnAddressThatCannotBeUsedAndLeavesNoCacheBehind) {
  const vellora::tests::TemporaryFolder folder;
  StandardPlatformAPI::Options options;
  options.server = "records example";
  options.cacheFile = folder.file("cache.db");

  const auto api = StandardPlatformAPI::make(options);

  ASSERT_FALSE(api.hasValue());
  ASSERT_NE(api.error().as<CurlNetworkError>(), nullptr);
  EXPECT_EQ(api.error().as<CurlNetworkError>()->kind, CurlNetworkError::Kind::invalidAddress);
  EXPECT_FALSE(std::filesystem::exists(folder.file("cache.db")));
}

TEST(StandardPlatformAPITest, TellsACacheFileThatCannotBeUsed) {
  const vellora::tests::TemporaryFolder folder;
  StandardPlatformAPI::Options options;
  options.server = "https://records.example";
  options.cacheFile = folder.path().string();

  const auto api = StandardPlatformAPI::make(options);

  ASSERT_FALSE(api.hasValue());
  ASSERT_NE(api.error().as<SQLiteCacheError>(), nullptr);
  EXPECT_EQ(api.error().as<SQLiteCacheError>()->reason, SQLiteCacheError::Reason::foreignFile);
}

TEST(StandardPlatformAPITest, LogsAndTellsWhatTheCacheCannotDo) {
  const vellora::tests::TemporaryFolder folder;
  const auto logger = std::make_shared<testkit::RecordingLogger>();
  int told = 0;
  StandardPlatformAPI::Options options;
  options.server = "https://records.example";
  options.cacheFile = folder.file("cache.db");
  options.cacheObserver = [&told](const SQLiteCacheFailure&) { ++told; };
  options.logger = logger;
  const auto api = StandardPlatformAPI::make(options).value();
  tests::RawDatabase other(folder.file("cache.db"));
  other.run("BEGIN IMMEDIATE");

  EXPECT_FALSE(api->cache()->save(Data("1"), "a"));

  EXPECT_EQ(told, 1);
  EXPECT_EQ(logger->texts(CorvaneSDK::LogLevel::error),
            std::vector<std::string>{"The cache file \"" + folder.file("cache.db") +
                                     "\" could not be written to (database is locked)."});
}

TEST(StandardPlatformAPITest, TellsACacheFileThatBelongsToAnotherOwner) {
  const vellora::tests::TemporaryFolder folder;
  StandardPlatformAPI::Options options;
  options.server = "https://records.example";
  options.cacheFile = folder.file("cache.db");
  options.cacheOwner = "alice";
  ASSERT_TRUE(StandardPlatformAPI::make(options));
  options.cacheOwner = "bob";

  const auto api = StandardPlatformAPI::make(options);

  ASSERT_FALSE(api.hasValue());
  EXPECT_EQ(api.error().as<SQLiteCacheError>()->reason, SQLiteCacheError::Reason::otherOwner);
}

}  // namespace
}  // namespace vellora::hostkit
