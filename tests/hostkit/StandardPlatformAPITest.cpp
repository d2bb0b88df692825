#include "hostkit/StandardPlatformAPI.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <string>

#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "testkit/RecordingLogger.h"
#include "testkit/SilentLogger.h"
#include "tests/support/NetworkAnswer.h"
#include "tests/support/Requests.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TemporaryFolder.h"

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

}  // namespace
}  // namespace vellora::hostkit
