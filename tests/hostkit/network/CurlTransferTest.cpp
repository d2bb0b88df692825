#include "hostkit/network/CurlTransfer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "hostkit/bodies/KeptBodies.h"
#include "testkit/ForwardingCache.h"
#include "tests/hostkit/bodies/BodiesCache.h"
#include "tests/support/NetworkAnswer.h"
#include "tests/support/PassingError.h"

namespace vellora::hostkit {
namespace {

using tests::NetworkAnswer;

/// Transfers that nobody drives, and what their completions and the observer were told.
class CurlTransferTest : public testing::Test {
 protected:
  using Kind = CurlNetworkError::Kind;

  CurlTransfer transfer(Result<CurlRequest> request) {
    return {setting, std::move(request), "/theme", [this](auto data, auto error, auto response) {
              answers.push_back({std::move(data), std::move(error), std::move(response)});
            }};
  }

  [[nodiscard]] CurlRequest request() const {
    return {
        .url = "https://records.example:443/theme", .headerLines = {}, .timeout = 7, .token = "secret-99"};
  }

  std::vector<RequestOutcome> outcomes;
  std::vector<NetworkAnswer> answers;
  const TransferSetting setting{.server = ServerAddress::parse("https://records.example").value(),
                                .caFile = {},
                                .maxBodyBytes = 100,
                                .connectTimeout = 15,
                                .observer = [this](const auto& outcome) { outcomes.push_back(outcome); }};
};

TEST_F(CurlTransferTest, ARequestThatMustNotBeSentHasFailedAlready) {
  const CurlNetworkError error{Kind::badToken, "no such token"};
  auto failed = transfer(Error(error));
  EXPECT_TRUE(failed.isSettled());
  failed.deliver();
  ASSERT_EQ(answers.size(), 1U);
  EXPECT_FALSE(answers[0].data);
  ASSERT_NE(answers[0].errorAs<CurlNetworkError>(), nullptr);
  EXPECT_EQ(*answers[0].errorAs<CurlNetworkError>(), error);
}

TEST_F(CurlTransferTest, ARequestThatAnotherTypeOfErrorRefusesHasFailedWithItsText) {
  auto failed = transfer(Error(tests::PassingError{"not today"}));
  failed.deliver();
  ASSERT_EQ(answers.size(), 1U);
  ASSERT_NE(answers[0].errorAs<CurlNetworkError>(), nullptr);
  EXPECT_EQ(*answers[0].errorAs<CurlNetworkError>(), (CurlNetworkError{Kind::invalidRequest, "not today"}));
}

TEST_F(CurlTransferTest, ItsTimeBeginsWhenItsHandleIsPrepared) {
  auto pending = transfer(request());
  EXPECT_FALSE(pending.isSettled());
  EXPECT_EQ(pending.timeout(), std::chrono::seconds(7));
  Connections connections;
  const auto before = CurlTransfer::Clock::now();
  ASSERT_NE(pending.prepareHandle(connections), nullptr);
  EXPECT_GE(pending.deadline(), before + std::chrono::seconds(7));
  EXPECT_LE(pending.deadline(), CurlTransfer::Clock::now() + std::chrono::seconds(7));
}

TEST_F(CurlTransferTest, TheObserverIsToldOfAFailureByItsPath) {
  auto pending = transfer(request());
  pending.fail(Kind::timedOut);
  pending.deliver();
  ASSERT_EQ(outcomes.size(), 1U);
  EXPECT_EQ(outcomes[0].path, "/theme");
  EXPECT_EQ(outcomes[0].statusCode, 0);
  EXPECT_EQ(outcomes[0].bytes, 0U);
  EXPECT_EQ(outcomes[0].receivedBytes, 0U);
  ASSERT_TRUE(outcomes[0].error);
  EXPECT_EQ(outcomes[0].error->text,
            "no answer in time from records.example:443/theme: try again, or give the request more time");
}

TEST_F(CurlTransferTest, AnErrorThatQuotesTheTokenIsRedacted) {
  CurlTransfer quoting(setting, request(), "/SECRET-99/x", [this](auto, auto error, auto) {
    answers.push_back({std::nullopt, std::move(error), std::nullopt});
  });
  quoting.fail(Kind::shutDown);
  quoting.deliver();
  ASSERT_EQ(answers.size(), 1U);
  EXPECT_EQ(answers[0].error->localizedDescription(),
            "the network was shut down before records.example:443/[token]/x had answered: "
            "send it again on a new one");
}

/// A cache that tells when it was called last.
class ClockedCache : public testkit::ForwardingCache {
 public:
  using ForwardingCache::ForwardingCache;

  std::shared_ptr<CorvaneSDK::CacheTable> openTable(const std::string& tableKey) override {
    auto table = ForwardingCache::openTable(tableKey);
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    calledLast = CurlTransfer::Clock::now();
    return table;
  }

  CurlTransfer::Clock::time_point calledLast;
};

TEST_F(CurlTransferTest, ItsTimeBeginsBehindTheLookUpInTheCache) {
  const BodiesCache host;
  const auto cache = std::make_shared<ClockedCache>(host.cache);
  TransferSetting keeping = setting;
  keeping.bodies = std::make_shared<KeptBodies>(cache, KeptBodies::Options());
  CurlTransfer pending(keeping, request(), "/theme", [](auto, auto, auto) {});
  cache->calledLast = {};
  Connections connections;
  ASSERT_NE(pending.prepareHandle(connections), nullptr);
  ASSERT_NE(cache->calledLast, CurlTransfer::Clock::time_point());
  EXPECT_GE(pending.deadline(), cache->calledLast + std::chrono::seconds(7));
  EXPECT_GE(pending.takeTimeOfCache(), std::chrono::milliseconds(1));
  EXPECT_EQ(pending.takeTimeOfCache(), CurlTransfer::Clock::duration());
}

TEST_F(CurlTransferTest, ItsTimeIsLongerWhenItIsPostponed) {
  auto pending = transfer(request());
  Connections connections;
  ASSERT_NE(pending.prepareHandle(connections), nullptr);
  const auto before = pending.deadline();
  pending.postpone(std::chrono::seconds(3));
  EXPECT_EQ(pending.deadline(), before + std::chrono::seconds(3));
}

TEST_F(CurlTransferTest, ARefusalIsOfTheMomentOfItsRequestHoweverItWasPostponed) {
  auto refused = transfer(Error(CurlNetworkError{Kind::errorStatus, "busy", 503}));
  Connections connections;
  ASSERT_NE(refused.prepareHandle(connections), nullptr);
  refused.postpone(std::chrono::hours(1));
  ServerPause pause;
  const auto now = CurlTransfer::Clock::now();
  pause.note(503, std::nullopt, now, now);  // of another that was under way together with it
  refused.report(pause, now + std::chrono::milliseconds(1));
  EXPECT_TRUE(pause.refusalAt(now + std::chrono::milliseconds(240)));
  EXPECT_FALSE(pause.refusalAt(now + std::chrono::milliseconds(260)));
}

}  // namespace
}  // namespace vellora::hostkit
