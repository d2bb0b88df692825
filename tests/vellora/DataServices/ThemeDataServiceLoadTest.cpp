#include "tests/support/TestError.h"
#include "tests/vellora/DataServices/ThemeServiceTest.h"
#include "vellora/Platform/Json/DecodingError.h"

namespace vellora::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testkit::StubNetwork;
using CacheState = ThemeDataService::CacheState;
using Case = ThemeDataServiceError::Case;

class ThemeDataServiceLoadTest : public ThemeServiceTest {
 protected:
  void keepFreshList(std::string json = "[]") const {
    keepList(std::move(json));
    keepTimeStamp(start);
  }
};

TEST_F(ThemeDataServiceLoadTest, CompletesInsideTheCallWhenTheCacheIsValid) {
  keepFreshList();
  const auto service = makeService();
  int completions = 0;

  service->loadThemes([&](const auto& error) {
    EXPECT_EQ(error, std::nullopt);
    ++completions;
  });

  EXPECT_EQ(completions, 1);
  EXPECT_EQ(network->count(), 0U);
  EXPECT_THAT(info(), ElementsAre("loadThemes(completion:), cacheState: valid"));
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(ThemeDataServiceLoadTest, NeedsNoCompletion) {
  keepFreshList();
  const auto service = makeService();
  service->loadThemes(nullptr);
  EXPECT_EQ(network->count(), 0U);

  clock.advance(301);
  network->answer(url, StubNetwork::body(response({})));
  service->loadThemes(nullptr);
  EXPECT_TRUE(logger->waitFor("loadThemes(completion:), fetch completed"));
}

TEST_F(ThemeDataServiceLoadTest, EvaluatesTheStateTwiceOnceForTheLogOnceForItself) {
  keepFreshList();
  const auto service = makeService();
  cache->clearCalls();

  service->loadThemes(nullptr);

  EXPECT_THAT(
      cache->callTexts(),
      ElementsAre("tableFetch OPS_ThemesCacheTable cacheEntryType=themes", "load ops.theme.fetch.timestamp",
                  "tableFetch OPS_ThemesCacheTable cacheEntryType=themes", "load ops.theme.fetch.timestamp"));
}

TEST_F(ThemeDataServiceLoadTest, SendsItsRequestOnTheCallersThreadBeforeItReturns) {
  network->answer(url, StubNetwork::never());
  const auto service = makeService();

  service->loadThemes(nullptr);

  const auto requests = network->requests();
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_EQ(requests[0].thread, std::this_thread::get_id());
  const auto& request = requests[0].request.base();
  EXPECT_EQ(request.url.absoluteString(), "/services/data/v50.0/theme");
  EXPECT_EQ(request.httpMethod, "GET");
  EXPECT_EQ(request.timeoutInterval, 60.0);
  EXPECT_EQ(request.cachePolicy, URLRequestCachePolicy::useProtocolCachePolicy);
  EXPECT_TRUE(request.headers.empty());
  EXPECT_EQ(request.body, std::nullopt);
}

TEST_F(ThemeDataServiceLoadTest, FetchesAndKeepsTheListOfAnEmptyCache) {
  network->answer(url, StubNetwork::body(response({entryJson("Account")})));
  const auto service = makeService();

  EXPECT_EQ(load(service), std::nullopt);

  EXPECT_EQ(service->cacheState(), CacheState::valid);
  EXPECT_THAT(info(), ElementsAre("loadThemes(completion:), cacheState: empty", "fetchedThemes()", "save(_:)",
                                  "fetchedThemes(), themes was fetched then cached",
                                  "loadThemes(completion:), fetch completed"));
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(ThemeDataServiceLoadTest, FetchesAnExpiredListAgain) {
  keepFreshList(listJson({entryJson("Old")}));
  clock.advance(300.5);
  network->answer(url, StubNetwork::body(response({entryJson("New")})));
  const auto service = makeService();

  EXPECT_EQ(load(service), std::nullopt);

  EXPECT_EQ(info().front(), "loadThemes(completion:), cacheState: expired");
  EXPECT_EQ(rowData({{"cacheEntryType", "themes"}}), listJson({entryJson("New")}));
  EXPECT_EQ(service->cacheState(), CacheState::valid);
}

TEST_F(ThemeDataServiceLoadTest, AnEmptyListIsAListToo) {
  network->answer(url, StubNetwork::body(response({})));
  const auto service = makeService();

  EXPECT_EQ(load(service), std::nullopt);
  EXPECT_EQ(service->cacheState(), CacheState::valid);
  logger->clear();

  EXPECT_EQ(Answer(service->themes({"A", "B"})).value(), Themes{});
  EXPECT_THAT(info(), ElementsAre("cachedThemes()", "theme(for:), no theme was found for name: A",
                                  "cachedThemes()", "theme(for:), no theme was found for name: B",
                                  "themes(for:): name: A", "themes(for:): name: B"));
  EXPECT_EQ(network->count(), 1U);
}

TEST_F(ThemeDataServiceLoadTest, AFailedLoadWithACompletionLogsTwice) {
  network->answer(url, StubNetwork::body("{}"));
  const auto service = makeService();

  const auto error = load(service);

  ASSERT_TRUE(error);
  EXPECT_EQ(error->errorCase(), Case::other);
  ASSERT_NE(error->payload(), nullptr);
  EXPECT_NE(error->payload()->as<DecodingError>(), nullptr);
  EXPECT_THAT(errors(),
              ElementsAre("VelloraService: ThemeDataServiceError: missing key \"themeItems\" at $",
                          "VelloraService: ThemeDataServiceError: The operation could not be completed. "
                          "(ThemeDataServiceError.other: missing key \"themeItems\" at $)"));
  EXPECT_THAT(info(), ElementsAre("loadThemes(completion:), cacheState: empty", "fetchedThemes()"));
}

TEST_F(ThemeDataServiceLoadTest, AFailedLoadWithoutACompletionLogsOnce) {
  network->answer(url, StubNetwork::body("{}").held());
  const auto service = makeService();
  service->loadThemes(nullptr);
  passQueue(service);

  network->releaseAll();

  EXPECT_THAT(errors(),
              ElementsAre("VelloraService: ThemeDataServiceError: missing key \"themeItems\" at $"));
}

TEST_F(ThemeDataServiceLoadTest, AFailedLoadLeavesTheCacheAsItWas) {
  keepFreshList(listJson({entryJson("Old")}));
  clock.advance(301);
  network->answer(url, StubNetwork::failure(TestError{"no route"}));
  const auto service = makeService();
  cache->clearCalls();

  EXPECT_TRUE(load(service));

  EXPECT_EQ(rowData({{"cacheEntryType", "themes"}}), listJson({entryJson("Old")}));
  EXPECT_EQ(service->cacheState(), CacheState::expired);
}

TEST_F(ThemeDataServiceLoadTest, AnAnswerWithNeitherBodyNorErrorIsNoData) {
  network->answer(url, StubNetwork::nothing());
  const auto service = makeService();

  EXPECT_EQ(load(service), ThemeDataServiceError::noData());

  const auto* line =
      "VelloraService: ThemeDataServiceError: The operation could not be completed. "
      "(ThemeDataServiceError.noData)";
  EXPECT_THAT(errors(), ElementsAre(line, line));
}

TEST_F(ThemeDataServiceLoadTest, ATransportErrorIsWrappedAndIsNotNoData) {
  network->answer(url, StubNetwork::failure(TestError{"no route"}));
  EXPECT_EQ(load(makeService()), ThemeDataServiceError::other(TestError{"no route"}));
}

class TruncatingNetwork final : public CorvaneSDK::Network {
 public:
  void sendRequest(const CorvaneSDK::NetRequest&, Completion completion) override {
    completion(Data(std::string(R"({"themeItems":[]})")), TestError{"truncated"}, std::nullopt);
  }
};

TEST_F(ThemeDataServiceLoadTest, ABodyThatCameWithAnErrorIsNotTrusted) {
  const auto service = std::make_shared<ThemeDataService>(
      RequiredAPI{std::make_shared<TruncatingNetwork>(), cache, logger}, cacheTimeout);

  EXPECT_EQ(load(service), ThemeDataServiceError::other(TestError{"truncated"}));
  EXPECT_EQ(service->cacheState(), CacheState::empty);
}

TEST_F(ThemeDataServiceLoadTest, LogsThatTheFetchHasCompletedBeforeItSaysSo) {
  network->answer(url, StubNetwork::body(response({})).held());
  const auto service = makeService();
  std::string lastLine;
  service->loadThemes([&](const auto&) { lastLine = info().back(); });
  passQueue(service);

  network->releaseAll();

  EXPECT_EQ(lastLine, "loadThemes(completion:), fetch completed");
}

TEST_F(ThemeDataServiceLoadTest, AnEmptyBodyIsABodyThatDoesNotDecode) {
  network->answer(url, StubNetwork::body(""));
  const auto error = load(makeService());
  ASSERT_TRUE(error);
  EXPECT_EQ(error->errorCase(), Case::other);
}

TEST_F(ThemeDataServiceLoadTest, ReadsTheBodyWhateverTheStatus) {
  const auto status = [](int code) { return URLResponse{url, code, {}}; };
  network->answer(url, StubNetwork::body(response({})).with(status(500)));
  EXPECT_EQ(load(makeService()), std::nullopt);

  clock.advance(301);
  network->answer(url, StubNetwork::body(R"([{"code":"NOT_FOUND"}])").with(status(404)));
  const auto error = load(makeService());
  ASSERT_TRUE(error);
  EXPECT_EQ(error->payload()->localizedDescription(), "expected an object at $");
}

TEST_F(ThemeDataServiceLoadTest, TwoLoadsAtOnceSendTwoRequests) {
  network->answer(url, StubNetwork::body(response({})).held());
  const auto service = makeService();
  int completions = 0;
  for (int round = 0; round < 2; ++round) service->loadThemes([&](const auto&) { ++completions; });
  passQueue(service);
  EXPECT_EQ(network->count(url), 2U);

  network->releaseAll();

  EXPECT_EQ(completions, 2);
}

TEST_F(ThemeDataServiceLoadTest, CompletesWhereTheNetworkCallsBack) {
  network->answer(url, StubNetwork::body(response({})).held());
  const auto service = makeService();
  std::optional<std::thread::id> thread;
  service->loadThemes([&](const auto&) { thread = std::this_thread::get_id(); });
  passQueue(service);  // the service has subscribed by then
  EXPECT_EQ(thread, std::nullopt);

  network->releaseAll();

  EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST_F(ThemeDataServiceLoadTest, CompletesOnItsQueueWhenTheNetworkWasFaster) {
  network->answer(url, StubNetwork::body(response({})));
  const auto service = makeService();
  std::promise<std::thread::id> thread;

  service->loadThemes([&](const auto&) { thread.set_value(std::this_thread::get_id()); });

  EXPECT_NE(thread.get_future().get(), std::this_thread::get_id());
}

TEST_F(ThemeDataServiceLoadTest, ItsCompletionMayLoadAgain) {
  network->answer(url, StubNetwork::body(response({})).held());
  const auto service = makeService();
  std::vector<std::string> states;
  service->loadThemes([&](const auto&) {
    service->loadThemes([&](const auto&) { states.push_back(describe(service->cacheState())); });
  });
  passQueue(service);

  network->releaseAll();

  EXPECT_THAT(states, ElementsAre("valid"));
  EXPECT_EQ(network->count(), 1U);
}

}  // namespace
}  // namespace vellora::tests
