#include "vellora/Services/VelloraService.h"

#include "tests/vellora/Services/ServiceFixture.h"

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tests::TestError;
using State = VelloraService::State;

/// Hands out what it is given, and writes down what it was asked for.
class CountingAPI final : public CorvaneSDK::PlatformAPI {
 public:
  std::shared_ptr<CorvaneSDK::Network> network() override {
    asked.emplace_back("network");
    return givenNetwork;
  }
  std::shared_ptr<CorvaneSDK::Cache> cache() override {
    asked.emplace_back("cache");
    return givenCache;
  }
  std::shared_ptr<CorvaneSDK::Logger> logger() override {
    asked.emplace_back("logger");
    return givenLogger;
  }

  std::shared_ptr<CorvaneSDK::Network> givenNetwork;
  std::shared_ptr<CorvaneSDK::Cache> givenCache;
  std::shared_ptr<CorvaneSDK::Logger> givenLogger;
  std::vector<std::string> asked;
};

class VelloraServiceTest : public tests::ServiceFixture {
 protected:
  /// What the constructor throws; nothing when it doesn't.
  std::optional<VelloraServiceError> thrown(const std::shared_ptr<CorvaneSDK::PlatformAPI>& platform) {
    try {
      service.emplace(platform, timeout, "light", queue);
    } catch (const VelloraServiceError& error) {
      return error;
    }
    return std::nullopt;
  }
};

TEST_F(VelloraServiceTest, AnAbsentFacilityIsThrownBeforeTheNextIsAskedFor) {
  const auto platform = std::make_shared<CountingAPI>();
  EXPECT_EQ(thrown(platform), VelloraServiceError::requiredAPI());
  EXPECT_THAT(platform->asked, ElementsAre("network"));

  platform->asked.clear();
  platform->givenNetwork = network;
  EXPECT_EQ(thrown(platform), VelloraServiceError::requiredAPI());
  EXPECT_THAT(platform->asked, ElementsAre("network", "cache"));

  platform->asked.clear();
  platform->givenCache = cache;
  EXPECT_EQ(thrown(platform), VelloraServiceError::requiredAPI());
  EXPECT_THAT(platform->asked, ElementsAre("network", "cache", "logger"));

  EXPECT_THAT(cache->callTexts(), IsEmpty()) << "no data service was created";
  EXPECT_EQ(queue->pending(), 0U);
  platform->givenLogger = logger;
  EXPECT_EQ(thrown(platform), std::nullopt);
}

TEST_F(VelloraServiceTest, WithoutPlatformOrQueueThereIsNothingToRunOn) {
  EXPECT_EQ(thrown(nullptr), VelloraServiceError::requiredAPI());
  EXPECT_THROW(service.emplace(api(), timeout, "light", nullptr), VelloraServiceError);
}

TEST_F(VelloraServiceTest, TheErrorHasThePlatformsDefaultText) {
  const auto error = VelloraServiceError::requiredAPI();
  EXPECT_STREQ(error.what(), "The operation could not be completed. (VelloraServiceError.requiredAPI)");
  EXPECT_EQ(error.localizedDescription(), error.what());
  EXPECT_EQ(error.description(), "requiredAPI");
}

TEST_F(VelloraServiceTest, ConstructionOpensTheThemesTableFirstAndReturnsWhileLoading) {
  construct();
  EXPECT_EQ(service->primerState(), State::isLoading());
  EXPECT_THAT(cache->callTexts(),
              ElementsAre("openTable OPS_ThemesCacheTable", "createTable OPS_ThemesCacheTable",
                          "openTable OPS_SObjectsCacheTable", "createTable OPS_SObjectsCacheTable"));
  EXPECT_EQ(queue->pending(), 2U);
  EXPECT_EQ(network->count(), 0U);
  EXPECT_THAT(infos(), ElementsAre("prefetch(): primerState: isLoading"));
}

TEST_F(VelloraServiceTest, ASecondServiceOnTheSameCacheFindsTheTables) {
  construct();
  service.reset();
  cache->clearCalls();
  construct();
  EXPECT_THAT(cache->callTexts(),
              ElementsAre("openTable OPS_ThemesCacheTable", "openTable OPS_SObjectsCacheTable"));
}

TEST_F(VelloraServiceTest, NamesItselfWithoutAnInstance) {
  EXPECT_EQ(VelloraService::serviceIdentifier(), (CorvaneSDK::ServiceIdentifier{"VelloraService", 1}));
  static_assert(CorvaneSDK::IdentifiedService<VelloraService>);
  EXPECT_EQ(VelloraService::Constants::queueLabel, "VelloraService.queue");
}

TEST_F(VelloraServiceTest, ConfiguringWithAnotherPlatformChangesNothing) {
  constructAndLoad();
  const auto other = std::make_shared<CountingAPI>();
  CorvaneSDK::Service& asHostSeesIt = *service;
  asHostSeesIt.configure(other);
  EXPECT_THAT(other->asked, IsEmpty());
  Received answer;
  service->objectPresentationInfoForApiNames({"Account"}, into(answer));
  runAll();
  EXPECT_THAT(keysOf(answer.infos), ElementsAre("Account"));
}

TEST(VelloraServiceStateTest, FailuresAreEqualWhenTheirDescriptionsAre) {
  EXPECT_EQ(State::isLoading(), State::isLoading());
  EXPECT_EQ(State::loaded(), State::loaded());
  EXPECT_NE(State::loaded(), State::isLoading());
  EXPECT_EQ(State::failed(TestError{"x"}), State::failed(TestError{"x"}));
  EXPECT_NE(State::failed(TestError{"x"}), State::failed(TestError{"y"}));
  EXPECT_NE(State::failed(TestError{"x"}), State::loaded());
}

TEST(VelloraServiceStateTest, TextsNameTheCaseAndTheError) {
  EXPECT_EQ(State::isLoading().description(), "isLoading");
  EXPECT_EQ(State::loaded().description(), "loaded");
  EXPECT_EQ(State::failed(SObjectsDataServiceError::other(TestError{"line down"})).description(),
            "failed(other(line down))");
  EXPECT_EQ(State::failed(ThemeDataServiceError::noData()).description(), "failed(noData)");
}

TEST_F(VelloraServiceTest, ObserversOfTheObjectAreToldBeforeEachChange) {
  construct();
  std::vector<std::string> before;
  const auto token = service->objectWillChange().sink(
      [&](WillChange) { before.push_back(service->primerState().description()); });
  runAll();
  EXPECT_THAT(before, ElementsAre("isLoading"));
  EXPECT_EQ(service->primerState(), State::loaded());
}

/// A lookup after which a prefetch is run again, so that the state changes inside the call.
void lookUpSomethingExpired(std::optional<VelloraService>& service, const int& releases) {
  service->objectPresentationInfoForIds({"001"},
                                        [](const auto&) { ADD_FAILURE() << "nobody is to be answered"; });
  EXPECT_EQ(releases, 1) << "inside the call";
}

TEST_F(VelloraServiceTest, MayBeReleasedInsideAChangeOfTheStateThatALookupMakes) {
  constructAndLoad();
  clock.advance(timeout + 1);
  int releases = 0;
  const auto token = service->primerStateStream().sink([&](const State& state) {
    if (state != State::isLoading()) return;
    ++releases;
    service.reset();
  });
  lookUpSomethingExpired(service, releases);
  runAll();
  EXPECT_EQ(network->count(), 2U) << "the prefetch that it began does nothing";
}

TEST_F(VelloraServiceTest, MayBeReleasedJustBeforeAChangeOfTheStateThatALookupMakes) {
  constructAndLoad();
  clock.advance(timeout + 1);
  int releases = 0;
  const auto token = service->objectWillChange().sink([&](WillChange) {
    ++releases;
    service.reset();
  });
  lookUpSomethingExpired(service, releases);
  runAll();
  EXPECT_EQ(network->count(), 2U);
}

TEST_F(VelloraServiceTest, MayBeReleasedInsideAChangeOfTheStateThatAPrefetchMakes) {
  for (const bool fails : {false, true}) {
    if (fails) network->answer(themesUrl, testkit::StubNetwork::failure(TestError{"line down"}));
    clock.advance(timeout + 1);
    construct();
    const auto token = service->primerStateStream().sink([&](const State& state) {
      if (state != State::isLoading()) service.reset();
    });
    runAll();
    EXPECT_FALSE(service);
  }
}

TEST_F(VelloraServiceTest, MayBeReleasedByACompletionThatIsCalledInsideTheLookup) {
  network->answerPrefix("/services/data/v50.0/search", testkit::StubNetwork::body("[]"));
  network->answerPrefix("/services/data/v53.0", testkit::StubNetwork::nothing());
  construct();
  service->objectLayoutInfoForApiNames({"Account"}, [&](const auto&) { service.reset(); });
  EXPECT_FALSE(service);
  construct();
  service->objectCompactLayoutInfoForApiNames({"Account"}, [&](const auto&) { service.reset(); });
  EXPECT_FALSE(service);
}

TEST_F(VelloraServiceTest, LookupsWithoutACompletionAreCarriedOutAllTheSame) {
  constructAndLoad();
  network->answerPrefix("/services/data/v50.0/search", testkit::StubNetwork::body("[]"));
  network->answerPrefix("/services/data/v53.0", testkit::StubNetwork::nothing());
  service->objectPresentationInfoForIds({"001"}, nullptr);
  service->objectPresentationInfoForApiNames({"Account"}, nullptr);
  service->objectLayoutInfoForApiNames({"Account"}, nullptr);
  service->objectCompactLayoutInfoForApiNames({"Account"}, nullptr);
  runAll();
  EXPECT_EQ(network->count("/services/data/v50.0/search/layout?q=Account"), 1U);
  EXPECT_EQ(network->count("/services/data/v53.0/compactLayouts?q=Account"), 1U);
  EXPECT_THAT(infosOf("objectPresentationInfoForIdsOnceLoaded(_:completion:) ids"),
              ElementsAre("objectPresentationInfoForIdsOnceLoaded(_:completion:) ids.count: 1"));
}

}  // namespace
}  // namespace vellora
