#include "vellora/DataServices/LayoutDataService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/FailingCache.h"
#include "testkit/ForwardingCache.h"
#include "testkit/RecordingLogger.h"
#include "testkit/StubNetwork.h"
#include "tests/support/TestClock.h"
#include "tests/support/TestError.h"
#include "vellora/Models/ObjectLayoutInfoCacheEntry.h"

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testkit::FailingCache;
using testkit::StubNetwork;
using tests::TestError;

constexpr double timeout = 3600;

const std::string accountUrl = "/services/data/v50.0/search/layout?q=Account";
const std::string bothUrl = "/services/data/v50.0/search/layout?q=Account,Contact";
const std::string accountJson = R"({"objectType":"Account","searchColumns":[]})";
const std::string contactJson = R"({"objectType":"Contact","searchColumns":[]})";

const std::string miss = "info: load(key:): No data from cache";
const std::string publicErrorLine = "error: layoutForApiName(_:completion:): Network request error:  ";
const std::string networkErrorLine = "error: getLayoutFromNetwork(_:completion:): Network request error:  ";
const std::string decodeErrorLine = "error: getLayoutFromNetwork(_:completion:): Failed to decode: ";
const std::string networkText = "The operation could not be completed. (SObjectsDataServiceError.network)";
const std::string decodingText = "The operation could not be completed. (SObjectsDataServiceError.decoding)";

class LayoutDataServiceTest : public testing::Test {
 protected:
  /// What a lookup's completion received.
  struct Received {
    int calls = 0;
    std::vector<std::string> types;
    std::optional<SObjectsDataServiceError> error;
    std::thread::id thread;
  };

  LayoutDataService::Completion into(Received& answer) {
    return [&answer](auto layouts, auto error) {
      ++answer.calls;
      ASSERT_TRUE(layouts);
      for (const auto& layout : *layouts) answer.types.push_back(layout.objectType);
      answer.error = std::move(error);
      answer.thread = std::this_thread::get_id();
    };
  }

  Received lookUp(const std::vector<std::string>& names) {
    Received answer;
    service->layoutForApiName(names, into(answer));
    return answer;
  }

  void cacheLayout(const std::string& type, double age) {
    const auto entry = ObjectLayoutInfoCacheEntry{
        {type, {}}, Date::sinceReferenceDate(clock.date().secondsSinceReferenceDate() - age)};
    cache->save(json::encode(entry).value(), "OPS_Layout_" + type);
  }

  [[nodiscard]] std::vector<std::string> log() const {
    std::vector<std::string> lines;
    for (const auto& line : logger->lines()) {
      lines.push_back((line.level == CorvaneSDK::LogLevel::error ? "error: " : "info: ") + line.text);
    }
    return lines;
  }

  [[nodiscard]] bool isCached(const std::string& type) const {
    return cache->load("OPS_Layout_" + type).has_value();
  }

  tests::TestClock clock;
  const std::shared_ptr<StubNetwork> network = std::make_shared<StubNetwork>();
  const std::shared_ptr<hostkit::MemoryCache> cache = std::make_shared<hostkit::MemoryCache>();
  const std::shared_ptr<FailingCache> recordedCache = std::make_shared<FailingCache>(cache);
  const std::shared_ptr<testkit::RecordingLogger> logger = std::make_shared<testkit::RecordingLogger>();
  std::shared_ptr<LayoutDataService> service =
      std::make_shared<LayoutDataService>(RequiredAPI{network, recordedCache, logger}, timeout);
};

TEST_F(LayoutDataServiceTest, ConstructionTouchesNothing) {
  EXPECT_EQ(network->count(), 0U);
  EXPECT_THAT(recordedCache->callTexts(), IsEmpty());
  EXPECT_THAT(log(), IsEmpty());
}

TEST_F(LayoutDataServiceTest, NoNamesAreAnsweredAtOnceWithoutARequest) {
  const Received answer = lookUp({});
  EXPECT_EQ(answer.calls, 1);
  EXPECT_THAT(answer.types, IsEmpty());
  EXPECT_EQ(answer.error, std::nullopt);
  EXPECT_EQ(network->count(), 0U);
}

TEST_F(LayoutDataServiceTest, YoungCachedLayoutsAreAnsweredInTheOrderOfTheNamesWithoutARequest) {
  cacheLayout("Account", 10);
  cacheLayout("Contact", 20);
  const Received answer = lookUp({"Contact", "Account"});
  EXPECT_EQ(answer.calls, 1);
  EXPECT_THAT(answer.types, ElementsAre("Contact", "Account"));
  EXPECT_EQ(answer.error, std::nullopt);
  EXPECT_EQ(answer.thread, std::this_thread::get_id());
  EXPECT_EQ(network->count(), 0U);
  EXPECT_THAT(recordedCache->callTexts(), ElementsAre("load OPS_Layout_Contact", "load OPS_Layout_Account"));
  EXPECT_THAT(log(), IsEmpty());
}

TEST_F(LayoutDataServiceTest, MissingLayoutsAreFetchedInOneRequestAndCachedAfterTheAnswer) {
  network->answer(bothUrl, StubNetwork::body("[" + accountJson + "," + contactJson + "]"));
  std::vector<std::string> cacheCallsAtAnswer;
  service->layoutForApiName({"Account", "Contact"}, [&](auto layouts, auto error) {
    ASSERT_EQ(layouts->size(), 2U);
    EXPECT_EQ(error, std::nullopt);
    cacheCallsAtAnswer = recordedCache->callTexts();
  });
  EXPECT_THAT(network->urls(), ElementsAre(bothUrl));
  EXPECT_THAT(cacheCallsAtAnswer, ElementsAre("load OPS_Layout_Account", "load OPS_Layout_Contact"));
  EXPECT_THAT(recordedCache->callTexts(), ElementsAre("load OPS_Layout_Account", "load OPS_Layout_Contact",
                                                      "save OPS_Layout_Account", "save OPS_Layout_Contact"));
  EXPECT_THAT(log(), ElementsAre(miss, miss));
  EXPECT_EQ(cache->load("OPS_Layout_Account")->view(),
            R"({"objectLayoutInfo":{"objectType":"Account","searchColumns":[]},"downloadedTime":721692800})");
}

TEST_F(LayoutDataServiceTest, WhatEachLayoutDownloadsIsCachedBeforeItIsYielded) {
  network->answer(accountUrl, StubNetwork::body("[" + accountJson + "]"));
  bool wasCached = false;
  const auto names = std::make_shared<const std::vector<std::string>>(1, "Account");
  const auto token = service->eachLayout(names, Source::cacheFirst).sink([&](const auto& found) {
    EXPECT_TRUE(found.value);
    wasCached = cache->load("OPS_Layout_Account").has_value();
  });
  EXPECT_TRUE(wasCached);
}

TEST_F(LayoutDataServiceTest, ALayoutsAgeCountsFromItsArrivalNotFromTheLookup) {
  network->answer(accountUrl, StubNetwork::body("[" + accountJson + "]").held());
  service->layoutForApiName({"Account"}, nullptr);
  clock.advance(30.5);
  network->releaseAll();
  EXPECT_EQ(
      cache->load("OPS_Layout_Account")->view(),
      R"({"objectLayoutInfo":{"objectType":"Account","searchColumns":[]},"downloadedTime":721692830.5})");
}

TEST_F(LayoutDataServiceTest, TheRequestIsAPlainGetWithATimeoutOfAMinute) {
  network->answer(accountUrl, StubNetwork::body("[]"));
  lookUp({"Account"});
  const URLRequest request = network->requests().at(0).request.base();
  EXPECT_EQ(request.httpMethod, "GET");
  EXPECT_EQ(request.timeoutInterval, 60.0);
  EXPECT_TRUE(request.headers.empty());
  EXPECT_EQ(request.body, std::nullopt);
}

TEST_F(LayoutDataServiceTest, DownloadedLayoutsComeBeforeCachedOnes) {
  cacheLayout("Contact", 10);
  network->answer(accountUrl, StubNetwork::body("[" + accountJson + "]"));
  const Received answer = lookUp({"Contact", "Account"});
  EXPECT_THAT(network->urls(), ElementsAre(accountUrl));
  EXPECT_THAT(answer.types, ElementsAre("Account", "Contact"));
}

TEST_F(LayoutDataServiceTest, AnExpiredLayoutIsServedOnceMoreAndThenFetched) {
  cacheLayout("Account", timeout + 1);
  EXPECT_THAT(lookUp({"Account"}).types, ElementsAre("Account"));
  EXPECT_EQ(network->count(), 0U);
  EXPECT_FALSE(isCached("Account"));
  EXPECT_THAT(recordedCache->callTexts(),
              ElementsAre("load OPS_Layout_Account", "remove OPS_Layout_Account"));
  network->answer(accountUrl, StubNetwork::body("[" + accountJson + "]"));
  EXPECT_THAT(lookUp({"Account"}).types, ElementsAre("Account"));
  EXPECT_EQ(network->count(), 1U);
}

TEST_F(LayoutDataServiceTest, AnAgeOfExactlyTheTimeoutIsNotExpired) {
  cacheLayout("Account", timeout);
  EXPECT_THAT(lookUp({"Account"}).types, ElementsAre("Account"));
  EXPECT_TRUE(isCached("Account"));
}

TEST_F(LayoutDataServiceTest, ALayoutDatedInTheFutureIsNotExpired) {
  cacheLayout("Account", -10 * timeout);
  EXPECT_THAT(lookUp({"Account"}).types, ElementsAre("Account"));
  EXPECT_TRUE(isCached("Account"));
}

TEST_F(LayoutDataServiceTest, ANegativeTimeoutExpiresEverythingAndOneThatIsNoNumberNothing) {
  cacheLayout("Account", 0);
  service = std::make_shared<LayoutDataService>(RequiredAPI{network, cache, logger},
                                                std::numeric_limits<double>::quiet_NaN());
  EXPECT_THAT(lookUp({"Account"}).types, ElementsAre("Account"));
  EXPECT_TRUE(isCached("Account"));
  service = std::make_shared<LayoutDataService>(RequiredAPI{network, cache, logger}, -1);
  EXPECT_THAT(lookUp({"Account"}).types, ElementsAre("Account"));
  EXPECT_FALSE(isCached("Account"));
}

TEST_F(LayoutDataServiceTest, ARepeatedNameIsRequestedAsOftenAsItIsNamed) {
  network->answerPrefix("/services/", StubNetwork::body("[" + accountJson + "]"));
  EXPECT_THAT(lookUp({"Account", "Account"}).types, ElementsAre("Account"));
  EXPECT_THAT(network->urls(), ElementsAre("/services/data/v50.0/search/layout?q=Account,Account"));
}

TEST_F(LayoutDataServiceTest, ARepeatedCachedNameIsAnsweredAsOftenAsItIsNamed) {
  cacheLayout("Account", 0);
  EXPECT_THAT(lookUp({"Account", "Account"}).types, ElementsAre("Account", "Account"));
  EXPECT_EQ(network->count(), 0U);
}

TEST_F(LayoutDataServiceTest, ABlobOfAnotherTypeIsAnsweredAlthoughItsNameIsMissing) {
  // The blob of Account holds a layout of Contact. As many layouts as names are a complete answer, so no
  // request is sent.
  cache->save(json::encode(ObjectLayoutInfoCacheEntry{{"Contact", {}}, clock.date()}).value(),
              "OPS_Layout_Account");
  EXPECT_THAT(lookUp({"Account"}).types, ElementsAre("Contact"));
  EXPECT_EQ(network->count(), 0U);
}

TEST_F(LayoutDataServiceTest, ATransportErrorGivesWhatIsCachedAndNetwork) {
  cacheLayout("Contact", 0);
  network->answer(accountUrl, StubNetwork::failure(TestError{"line down"}));
  const Received answer = lookUp({"Account", "Contact"});
  EXPECT_EQ(answer.calls, 1);
  EXPECT_THAT(answer.types, ElementsAre("Contact"));
  EXPECT_EQ(answer.error, SObjectsDataServiceError::network());
  EXPECT_THAT(log(), ElementsAre(miss, networkErrorLine + "line down", publicErrorLine + networkText));
}

TEST_F(LayoutDataServiceTest, NoBodyAndNoErrorIsLoggedOnlyOnce) {
  network->answer(accountUrl, StubNetwork::nothing());
  const Received answer = lookUp({"Account"});
  EXPECT_THAT(answer.types, IsEmpty());
  EXPECT_EQ(answer.error, SObjectsDataServiceError::network());
  EXPECT_THAT(log(), ElementsAre(miss, publicErrorLine + networkText));
}

TEST_F(LayoutDataServiceTest, ABodyThatIsNotAListOfLayoutsGivesWhatIsCachedAndDecoding) {
  cacheLayout("Contact", 0);
  network->answer(accountUrl, StubNetwork::body(R"({"code":"SERVER_ERROR"})").with({"", 500, {}}));
  const Received answer = lookUp({"Account", "Contact"});
  EXPECT_THAT(answer.types, ElementsAre("Contact"));
  EXPECT_EQ(answer.error, SObjectsDataServiceError::decoding());
  EXPECT_THAT(log(),
              ElementsAre(miss, decodeErrorLine + "expected an array at $", publicErrorLine + decodingText));
  EXPECT_FALSE(isCached("Account"));
}

TEST_F(LayoutDataServiceTest, AnEmptyBodyDoesNotDecode) {
  network->answer(accountUrl, StubNetwork::body(""));
  EXPECT_EQ(lookUp({"Account"}).error, SObjectsDataServiceError::decoding());
}

TEST_F(LayoutDataServiceTest, AGoodBodyIsUsedWhateverTheStatus) {
  network->answer(accountUrl, StubNetwork::body("[" + accountJson + "]").with({"", 500, {}}));
  const Received answer = lookUp({"Account"});
  EXPECT_THAT(answer.types, ElementsAre("Account"));
  EXPECT_EQ(answer.error, std::nullopt);
}

TEST_F(LayoutDataServiceTest, ALayoutOfAnUnexpectedTypeIsDeliveredAndCachedUnderItsOwnType) {
  network->answer(accountUrl, StubNetwork::body("[" + contactJson + "]"));
  EXPECT_THAT(lookUp({"Account"}).types, ElementsAre("Contact"));
  EXPECT_TRUE(isCached("Contact"));
  EXPECT_FALSE(isCached("Account"));
}

TEST_F(LayoutDataServiceTest, ABlobThatDoesNotDecodeIsFetchedAgainAndOverwritten) {
  cache->save(Data(std::string(R"({"objectLayoutInfo":7})")), "OPS_Layout_Account");
  network->answer(accountUrl, StubNetwork::failure(TestError{"line down"}));
  EXPECT_THAT(lookUp({"Account"}).types, IsEmpty());
  EXPECT_TRUE(isCached("Account")) << "a bad blob stays until a download replaces it";
  EXPECT_EQ(log().at(0), "error: load(key:): Failed to decode: expected an object at $.objectLayoutInfo");
  network->answer(accountUrl, StubNetwork::body("[" + accountJson + "]"));
  EXPECT_THAT(lookUp({"Account"}).types, ElementsAre("Account"));
  EXPECT_THAT(lookUp({"Account"}).types, ElementsAre("Account"));
  EXPECT_EQ(network->count(), 2U);
}

TEST_F(LayoutDataServiceTest, ALayoutThatCannotBeEncodedIsDeliveredAndLoggedButNotCached) {
  clock.set(Date::sinceReferenceDate(std::numeric_limits<double>::infinity()));
  network->answer(accountUrl, StubNetwork::body("[" + accountJson + "]"));
  EXPECT_THAT(lookUp({"Account"}).types, ElementsAre("Account"));
  EXPECT_FALSE(isCached("Account"));
  ASSERT_EQ(log().size(), 2U);
  EXPECT_THAT(log().at(1), testing::StartsWith("error: save(key:objectLayoutInfo:): Failed to encode: "));
}

TEST_F(LayoutDataServiceTest, ACacheThatRefusesToSaveChangesNothingForTheCaller) {
  recordedCache->fail(FailingCache::Operation::save);
  network->answer(accountUrl, StubNetwork::body("[" + accountJson + "]"));
  const Received answer = lookUp({"Account"});
  EXPECT_THAT(answer.types, ElementsAre("Account"));
  EXPECT_EQ(answer.error, std::nullopt);
  EXPECT_THAT(log(), ElementsAre(miss));
}

TEST_F(LayoutDataServiceTest, WithoutACompletionTheCacheIsFilledAllTheSame) {
  network->answer(accountUrl, StubNetwork::body("[" + accountJson + "]"));
  service->layoutForApiName({"Account"}, nullptr);
  EXPECT_TRUE(isCached("Account"));
  service->layoutForApiName({"Account"}, nullptr);
  network->answerPrefix("/services/", StubNetwork::nothing());
  service->layoutForApiName({"Contact"}, nullptr);
  EXPECT_EQ(network->count(), 2U);
}

TEST_F(LayoutDataServiceTest, TheCompletionRunsOnTheThreadOfTheNetwork) {
  network->answer(accountUrl, StubNetwork::body("[" + accountJson + "]").held());
  Received answer;
  service->layoutForApiName({"Account"}, into(answer));
  EXPECT_EQ(answer.calls, 0);
  std::thread networkThread([&] { network->releaseAll(); });
  const auto id = networkThread.get_id();
  networkThread.join();
  EXPECT_EQ(answer.calls, 1);
  EXPECT_EQ(answer.thread, id);
}

TEST_F(LayoutDataServiceTest, AfterTheServiceIsReleasedTheCallerIsAnsweredButNothingIsCachedOrLogged) {
  struct Ending {
    StubNetwork::Answer answer;
    std::vector<std::string> types;
    std::optional<SObjectsDataServiceError> error;
  };
  const std::vector<Ending> endings = {
      {StubNetwork::body("[" + accountJson + "]"), {"Account"}, std::nullopt},
      {StubNetwork::body("{}"), {}, SObjectsDataServiceError::decoding()},
      {StubNetwork::failure(TestError{"line down"}), {}, SObjectsDataServiceError::network()},
      {StubNetwork::nothing(), {}, SObjectsDataServiceError::network()},
  };
  for (const auto& ending : endings) {
    network->answer(accountUrl, ending.answer.held());
    service = std::make_shared<LayoutDataService>(RequiredAPI{network, cache, logger}, timeout);
    Received answer;
    service->layoutForApiName({"Account"}, into(answer));
    logger->clear();
    service.reset();
    network->releaseAll();
    EXPECT_EQ(answer.calls, 1);
    EXPECT_EQ(answer.types, ending.types);
    EXPECT_EQ(answer.error, ending.error);
    EXPECT_THAT(log(), IsEmpty());
    EXPECT_FALSE(isCached("Account"));
  }
}

TEST_F(LayoutDataServiceTest, ACompletionThatReleasesTheServiceKeepsItFromCaching) {
  network->answer(accountUrl, StubNetwork::body("[" + accountJson + "]").held());
  service->layoutForApiName({"Account"}, [&](const auto&, const auto&) { service.reset(); });
  network->releaseAll();
  EXPECT_EQ(service, nullptr);
  EXPECT_FALSE(isCached("Account"));
}

/// Runs an action before it looks for a blob.
class ActingCache final : public testkit::ForwardingCache {
 public:
  ActingCache(std::shared_ptr<Cache> next, std::function<void()> action)
      : ForwardingCache(std::move(next)), action_(std::move(action)) {}
  std::optional<Data> load(const std::string& key) override {
    action_();
    return ForwardingCache::load(key);
  }

 private:
  const std::function<void()> action_;
};

TEST_F(LayoutDataServiceTest, AHostThatReleasesTheServiceDuringALookupLetsItFinishItsCall) {
  network->answer(accountUrl, StubNetwork::body("[" + accountJson + "]"));
  const auto acting = std::make_shared<ActingCache>(cache, [&] { service.reset(); });
  service = std::make_shared<LayoutDataService>(RequiredAPI{network, acting, logger}, timeout);
  EXPECT_THAT(lookUp({"Account"}).types, ElementsAre("Account"));
  EXPECT_EQ(service, nullptr);
  EXPECT_TRUE(isCached("Account"));
}

TEST_F(LayoutDataServiceTest, TheAgeOfEachCachedLayoutIsTakenWhenItHasBeenLoaded) {
  cacheLayout("Account", timeout - 1);
  cacheLayout("Contact", timeout - 1);
  const auto slow = std::make_shared<ActingCache>(cache, [&] { clock.advance(1); });
  service = std::make_shared<LayoutDataService>(RequiredAPI{network, slow, logger}, timeout);
  EXPECT_THAT(lookUp({"Account", "Contact"}).types, ElementsAre("Account", "Contact"));
  EXPECT_TRUE(isCached("Account")) << "loaded at the age of the time-out";
  EXPECT_FALSE(isCached("Contact")) << "loaded a second later";
}

TEST_F(LayoutDataServiceTest, ACompletionMayLookUpAgain) {
  network->answer(accountUrl, StubNetwork::body("[" + accountJson + "]"));
  network->answer("/services/data/v50.0/search/layout?q=Contact", StubNetwork::body("[" + contactJson + "]"));
  Received inner;
  service->layoutForApiName(
      {"Account"}, [&](const auto&, const auto&) { service->layoutForApiName({"Contact"}, into(inner)); });
  EXPECT_EQ(inner.calls, 1);
  EXPECT_THAT(inner.types, ElementsAre("Contact"));
}

}  // namespace
}  // namespace vellora
