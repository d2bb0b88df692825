#include <new>

#include "tests/support/RefusingQueue.h"
#include "tests/vellora/Services/ServiceFixture.h"
#include "vellora/Platform/Values/OutOfMemory.h"

namespace vellora {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testkit::FailingCache;
using testkit::StubNetwork;
using tests::TestError;
using State = VelloraService::State;

const std::string waiting = "waitForPrefetch(completion:): primerState: ";

class PrefetchTest : public tests::ServiceFixture {
 protected:
  /// Constructs the façade and writes down every state from its first on.
  void constructAndWatch() {
    construct();
    watch = service->primerStateStream().sink(
        [this](const State& state) { states.push_back(state.description()); });
  }

  std::vector<std::string> states;
  AnyCancellable watch;
};

TEST_F(PrefetchTest, LoadsBothListsAndSaysSoOnce) {
  constructAndWatch();
  runAll();
  EXPECT_THAT(states, ElementsAre("isLoading", "loaded"));
  EXPECT_EQ(service->primerState(), State::loaded());
  EXPECT_THAT(network->urls(), ElementsAre(themesUrl, sObjectsUrl));
  EXPECT_THAT(infosOf("prefetch()"),
              ElementsAre("prefetch(): primerState: isLoading", "prefetch(): primerState: loaded"));
}

TEST_F(PrefetchTest, LogsEveryStepInItsOrder) {
  constructAndLoad();
  EXPECT_THAT(infos(),
              ElementsAre("prefetch(): primerState: isLoading",                   //
                          "loadThemes(completion:), cacheState: empty",           //
                          "fetchedThemes()",                                      //
                          "loadSObjects(completion:), cacheState: empty",         //
                          "save(_:)",                                             //
                          "fetchedThemes(), themes was fetched then cached",      //
                          "loadThemes(completion:), fetch completed",             //
                          "save(_:)",                                             //
                          "saveKeyPrefixes(_:)",                                  //
                          "fetchedSObjects(), sObjects was fetched then cached",  //
                          "loadSObjects(completion:), fetch completed",           //
                          "prefetch(): primerState: loaded"));
  EXPECT_THAT(logger->texts(CorvaneSDK::LogLevel::error), IsEmpty());
}

TEST_F(PrefetchTest, WithFreshCachesItLoadsWithoutARequest) {
  constructAndLoad();
  service.reset();
  constructAndWatch();
  runAll();
  EXPECT_THAT(states, ElementsAre("isLoading", "loaded"));
  EXPECT_EQ(network->count(), 2U);
}

TEST_F(PrefetchTest, AThemeFailureIsTheStateAndAnInfoLine) {
  network->answer(themesUrl, StubNetwork::failure(TestError{"line down"}));
  constructAndWatch();
  runAll();
  EXPECT_THAT(states, ElementsAre("isLoading", "failed(other(line down))"));
  ASSERT_NE(service->primerState().error(), nullptr);
  EXPECT_NE(service->primerState().error()->as<ThemeDataServiceError>(), nullptr);
  EXPECT_THAT(infosOf("prefetch()"),
              ElementsAre("prefetch(): primerState: isLoading",
                          "prefetch(): error while loading themes: The operation could not be completed. "
                          "(ThemeDataServiceError.other: line down)"));
}

TEST_F(PrefetchTest, AnSObjectFailureIsTheStateAndAnInfoLine) {
  network->answer(sObjectsUrl, StubNetwork::nothing());
  constructAndWatch();
  runAll();
  EXPECT_THAT(states, ElementsAre("isLoading", "failed(noData)"));
  EXPECT_NE(service->primerState().error()->as<SObjectsDataServiceError>(), nullptr);
  EXPECT_THAT(infosOf("prefetch(): error"),
              ElementsAre("prefetch(): error while loading sobjects: The operation could not be completed. "
                          "(SObjectsDataServiceError.noData)"));
}

TEST_F(PrefetchTest, OfTwoFailuresTheLaterOneStays) {
  network->answer(themesUrl, StubNetwork::failure(TestError{"themes"}).held());
  network->answer(sObjectsUrl, StubNetwork::failure(TestError{"sobjects"}).held());
  constructAndWatch();
  runAll();
  network->release(sObjectsUrl);
  network->release(themesUrl);
  runAll();
  EXPECT_THAT(states, ElementsAre("isLoading", "failed(other(sobjects))", "failed(other(themes))"));

  states.clear();
  constructAndWatch();
  runAll();
  network->release(themesUrl);
  network->release(sObjectsUrl);
  runAll();
  EXPECT_THAT(states, ElementsAre("isLoading", "failed(other(themes))", "failed(other(sobjects))"));
}

TEST_F(PrefetchTest, TheStateChangesBeforeItsLineIsLogged) {
  for (const bool fails : {false, true}) {
    if (fails) network->answer(sObjectsUrl, StubNetwork::nothing());
    clock.advance(timeout + 1);
    logger->clear();
    construct();
    std::size_t linesAtTheEnd = 0;
    const auto token = service->primerStateStream().sink([&](const State& state) {
      if (state != State::isLoading()) linesAtTheEnd = infosOf("prefetch()").size();
    });
    runAll();
    EXPECT_EQ(linesAtTheEnd, 1U) << "that of the beginning";
    EXPECT_THAT(infosOf("prefetch()"), SizeIs(2));
  }
}

TEST_F(PrefetchTest, FailuresAreInfoLinesOfTheFacadeOnly) {
  network->answer(themesUrl, StubNetwork::nothing());
  constructAndLoad();
  EXPECT_THAT(logger->texts(CorvaneSDK::LogLevel::error), Each(Not(HasSubstr("prefetch()"))));
}

TEST_F(PrefetchTest, OnlyTheTwoLoadsRunOnTheHostsQueue) {
  construct();
  EXPECT_EQ(queue->runAll(), 2U);
  while (queues.runNext()) EXPECT_EQ(queue->pending(), 0U);
  EXPECT_EQ(service->primerState(), State::loaded());
}

TEST_F(PrefetchTest, StaysLoadingWhileOneOfTheTwoIsPending) {
  network->answer(sObjectsUrl, StubNetwork::body(sObjectsBody()).held());
  constructAndWatch();
  runAll();
  EXPECT_THAT(states, ElementsAre("isLoading"));
  network->releaseAll();
  runAll();
  EXPECT_THAT(states, ElementsAre("isLoading", "loaded"));
}

TEST_F(PrefetchTest, IsPrimedOnlyWhenLoadedAndBothCachesAreFresh) {
  construct();
  EXPECT_FALSE(service->primedAndCached());
  runAll();
  EXPECT_TRUE(service->primedAndCached());
  clock.advance(timeout);
  EXPECT_TRUE(service->primedAndCached()) << "an age of exactly the time-out is fresh";
  clock.advance(1);
  EXPECT_FALSE(service->primedAndCached());
}

TEST_F(PrefetchTest, EitherCacheMayBeTheOneThatHasExpired) {
  constructAndLoad();
  for (const char* stamp : {"ops.theme.fetch.timestamp", "ops.sobject.fetch.timestamp"}) {
    cache->fail(FailingCache::Operation::load, stamp);
    EXPECT_FALSE(service->primedAndCached());
    cache->mend(FailingCache::Operation::load);
    EXPECT_TRUE(service->primedAndCached());
  }
}

TEST_F(PrefetchTest, ReadinessIsCheckedInOrderAndStopsAtTheFirstNo) {
  construct();
  cache->clearCalls();
  EXPECT_FALSE(service->primedAndCached());
  EXPECT_THAT(cache->callTexts(), IsEmpty()) << "while loading, the caches are not read";
  runAll();
  cache->fail(FailingCache::Operation::load, "ops.theme.fetch.timestamp");
  cache->clearCalls();
  EXPECT_FALSE(service->primedAndCached());
  EXPECT_THAT(cache->callTexts(), ElementsAre("tableFetch OPS_ThemesCacheTable cacheEntryType=themes",
                                              "load ops.theme.fetch.timestamp (failed)"));
}

TEST_F(PrefetchTest, AWaiterDuringThePrefetchWaitsForThatOne) {
  network->answer(sObjectsUrl, StubNetwork::body(sObjectsBody()).held());
  construct();
  runAll();
  Received answer;
  service->objectPresentationInfoForIds({"001"}, into(answer));
  runAll();
  EXPECT_EQ(answer.calls, 0);
  network->releaseAll();
  runAll();
  EXPECT_EQ(answer.calls, 1);
  EXPECT_EQ(network->count(), 2U);
  EXPECT_THAT(infosOf("waitForPrefetch"),
              ElementsAre(waiting + "isLoading", waiting + "isLoading", waiting + "loaded"));
  EXPECT_EQ(infosOf("prefetch(): primerState: isLoading").size(), 1U);
}

TEST_F(PrefetchTest, AWaiterAfterAFailureRunsThePrefetchAgain) {
  network->answer(themesUrl, {StubNetwork::failure(TestError{"line down"}), StubNetwork::body(themesBody())});
  constructAndLoad();
  logger->clear();
  Received answer;
  service->objectPresentationInfoForIds({"001"}, into(answer));
  EXPECT_EQ(service->primerState(), State::isLoading()) << "set at once";
  runAll();
  EXPECT_EQ(answer.calls, 1);
  EXPECT_EQ(service->primerState(), State::loaded());
  EXPECT_EQ(network->count(themesUrl), 2U);
  EXPECT_EQ(network->count(sObjectsUrl), 1U) << "that list is fresh";
  EXPECT_THAT(infosOf("waitForPrefetch"),
              ElementsAre(waiting + "failed(other(line down))", waiting + "isLoading", waiting + "loaded"));
}

TEST_F(PrefetchTest, FailsWhenTheHostsQueueHasNoMemoryForItsLoads) {
  const auto refusing = std::make_shared<tests::RefusingQueue>();
  service.emplace(api(), timeout, "light", refusing);
  refusing->runAll();
  queues.runAll();
  ASSERT_EQ(service->primerState(), State::loaded());
  clock.advance(timeout + 1);
  refusing->refuseNext();
  Received answer;
  EXPECT_THROW(service->objectPresentationInfoForIds({"001"}, into(answer)), std::bad_alloc);
  ASSERT_NE(service->primerState().error(), nullptr) << "at isLoading every later lookup would wait for ever";
  EXPECT_NE(service->primerState().error()->as<OutOfMemory>(), nullptr);
}

TEST_F(PrefetchTest, AWaiterAfterExpiryRunsThePrefetchAgain) {
  constructAndLoad();
  clock.advance(timeout + 1);
  Received answer;
  service->objectPresentationInfoForIds({"001"}, into(answer));
  EXPECT_EQ(answer.calls, 0);
  runAll();
  EXPECT_EQ(answer.calls, 1);
  EXPECT_EQ(network->count(), 4U);
}

TEST_F(PrefetchTest, AWaiterGoesOnAtTheFirstFailureWithWhatThereIs) {
  constructAndLoad();
  clock.advance(timeout + 1);
  network->answer(themesUrl, StubNetwork::failure(TestError{"line down"}).held());
  network->answer(sObjectsUrl, StubNetwork::never());
  Received answer;
  service->objectPresentationInfoForIds({"001"}, into(answer));
  runAll();
  EXPECT_EQ(answer.calls, 0);
  network->releaseAll();
  runAll();
  EXPECT_EQ(answer.calls, 1) << "the old lists answer";
  EXPECT_THAT(keysOf(answer.infos), ElementsAre("001"));
}

TEST_F(PrefetchTest, OncePrimedALookupRunsAtOnceWithoutAnotherPrefetch) {
  constructAndLoad();
  logger->clear();
  Received answer;
  service->objectPresentationInfoForIds({"001"}, into(answer));
  EXPECT_THAT(infosOf("waitForPrefetch"), IsEmpty());
  EXPECT_THAT(infosOf("objectPresentationInfoForIdsOnceLoaded"),
              ElementsAre("objectPresentationInfoForIdsOnceLoaded(_:completion:) ids.count: 1"));
  runAll();
  EXPECT_EQ(answer.calls, 1);
  EXPECT_EQ(network->count(), 2U);
}

TEST_F(PrefetchTest, ATimeoutOfZeroLoadsAnewForEachLookupAndANegativeOneToo) {
  for (const double never : {0.0, -5.0}) {
    service.reset();
    network->answer(themesUrl, StubNetwork::body(themesBody()));
    const auto before = network->count();
    service.emplace(api(), never, "light", queue);
    runAll();
    clock.advance(1);
    Received answer;
    service->objectPresentationInfoForIds({"001"}, into(answer));
    runAll();
    EXPECT_EQ(answer.calls, 1);
    EXPECT_EQ(network->count(), before + 4);
    clock.advance(1);
  }
}

TEST_F(PrefetchTest, ATimeoutThatIsNoNumberNeverExpires) {
  service.emplace(api(), std::numeric_limits<double>::quiet_NaN(), "light", queue);
  runAll();
  clock.advance(6 * 24 * 3600);  // a host's rows live for seven days
  EXPECT_TRUE(service->primedAndCached());
}

TEST_F(PrefetchTest, AFacadeReleasedWhileLoadingLeavesNothingBehind) {
  // Release before the first task, between the tasks, while a request is pending, and before the
  // notification.
  for (int step = 0; step < 6; ++step) {
    network->answer(themesUrl, StubNetwork::body(themesBody()).held());
    network->answer(sObjectsUrl, StubNetwork::body(sObjectsBody()).held());
    construct();
    const std::vector<std::function<void()>> steps = {
        [&] { queue->runNext(); },      [&] { queue->runNext(); }, [&] { queues.runAll(); },
        [&] { network->releaseAll(); }, [&] { queues.runNext(); }, [&] { queues.runAll(); }};
    for (int done = 0; done < step; ++done) steps[static_cast<std::size_t>(done)]();
    service.reset();
    logger->clear();
    for (int left = step; left < 6; ++left) steps[static_cast<std::size_t>(left)]();
    runAll();
    EXPECT_THAT(infosOf("prefetch()"), IsEmpty()) << "released after step " << step;
  }
}

TEST_F(PrefetchTest, ALookupFromInsideAChangeOfTheStateIsAnswered) {
  construct();
  Received duringLoading;
  Received duringLoaded;
  const auto token = service->primerStateStream().sink([&](const State& state) {
    if (state == State::isLoading() && duringLoading.calls == 0) {
      service->objectPresentationInfoForIds({"001"}, into(duringLoading));
    }
    if (state == State::loaded()) service->objectPresentationInfoForIds({"003"}, into(duringLoaded));
  });
  runAll();
  EXPECT_EQ(duringLoading.calls, 1);
  EXPECT_EQ(duringLoaded.calls, 1);
}

}  // namespace
}  // namespace vellora
