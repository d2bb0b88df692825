#include "tests/support/ListenedHost.h"
#include "tests/support/ManualQueues.h"
#include "tests/support/TestError.h"
#include "tests/vellora/DataServices/ThemeServiceTest.h"

namespace vellora::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testkit::StubNetwork;
using Calls = std::vector<std::string>;

/// Runs a load or a lookup to its end on one thread, and lets go of the service's last handle inside the host
/// call of a given number.
class ThemeDataServiceReleaseTest : public ThemeServiceTest {
 protected:
  struct Run {
    Calls alive;  ///< the host calls while there was a service …
    Calls after;  ///< … and those made by its last handle and later
    std::optional<Themes> themes;
    std::optional<Error> failure;
    std::vector<std::optional<ThemeDataServiceError>> completions;
  };

  static inline const Calls purge{
      "fetch theme", "log enforceCacheCount(), cacheEntryType: theme, rows.count: 0, maxCount: 100"};

  template <class Begin>
  Run run(std::size_t dropAt, Begin begin) {
    memory = std::make_shared<hostkit::MemoryCache>();
    prepare();
    Run run;
    std::shared_ptr<ThemeDataService> service;
    std::weak_ptr<ThemeDataService> weak;
    const auto listener = [&](const std::string& call) {
      (weak.expired() ? run.after : run.alive).push_back(call);
      if (run.alive.size() == dropAt) service.reset();
    };
    service = std::make_shared<ThemeDataService>(listenedHost(network, memory, listener), cacheTimeout);
    weak = service;
    const AnyCancellable token = begin(*service, run);
    while (queues.runNext() || network->releaseOne()) continue;
    service.reset();
    EXPECT_TRUE(weak.expired());
    return run;
  }

  Run lookup(const std::vector<std::string>& names, std::size_t dropAt) {
    return run(dropAt, [&](ThemeDataService& service, Run& run) {
      return service.themes(names).sink(
          [&run](Themes themes) { run.themes = std::move(themes); },
          [&run](std::optional<Error> error) { run.failure = std::move(error); });
    });
  }

  Run load(std::size_t dropAt) {
    return run(dropAt, [](ThemeDataService& service, Run& run) {
      service.loadThemes([&run](auto error) { run.completions.push_back(std::move(error)); });
      return AnyCancellable();
    });
  }

  /// Where the piece of work ends of which call number `step` is part: a save goes on by its log line and the
  /// list's by its time stamp.
  static std::size_t endOfPiece(const Calls& calls, std::size_t step) {
    const auto goesOn = [](const std::string& call) {
      return call.starts_with("log save(_:)") || call == "save ops.theme.fetch.timestamp";
    };
    while (step < calls.size() && goesOn(calls[step])) ++step;
    return step;
  }

  /// What the cache holds and the network answers in each run.
  std::function<void()> prepare = [] {};
  ManualQueues queues;
};

TEST_F(ThemeDataServiceReleaseTest, ALookupHoldsTheServiceUntilItsNamesAreTakenUp) {
  prepare = [this] { keepList(listJson({entryJson("A"), entryJson("B")})); };
  const auto undisturbed = lookup({"A", "X", "B"}, 0);
  EXPECT_EQ(undisturbed.themes, (Themes{{"A", entry("A")}, {"B", entry("B")}}));

  for (std::size_t step = 1; step <= undisturbed.alive.size(); ++step) {
    const auto released = lookup({"A", "X", "B"}, step);
    EXPECT_EQ(released.themes, undisturbed.themes) << step;
    EXPECT_EQ(released.alive, undisturbed.alive) << step;
    EXPECT_EQ(released.after.size(), 2U) << step;
  }
}

TEST_F(ThemeDataServiceReleaseTest, ALookupThatIsOnlyHandedOutHoldsTheServiceToo) {
  keepEntry("A", entryJson("A"));
  std::weak_ptr<ThemeDataService> weak;
  {
    auto service = makeService();
    weak = service;
    const auto themes = service->themes({"A"});
    service.reset();
    EXPECT_FALSE(weak.expired());
    const Answer answer(themes);
    queues.runAll();
    EXPECT_TRUE(answer.hasEnded());
    EXPECT_EQ(answer.value(), (Themes{{"A", entry("A")}}));
  }
  EXPECT_TRUE(weak.expired());
}

TEST_F(ThemeDataServiceReleaseTest, WhatWaitsForTheNetworkHoldsNothing) {
  network->answer(url, StubNetwork::body(response({entryJson("A"), entryJson("B")})).held());
  auto service = makeService();
  const Answer answer(service->themes({"A", "B"}));
  queues.runAll();
  EXPECT_EQ(network->held(), 2U);
  logger->clear();
  cache->clearCalls();

  service.reset();
  EXPECT_THAT(info(),
              ElementsAre("enforceCacheCount(), cacheEntryType: theme, rows.count: 0, maxCount: 100"));
  EXPECT_EQ(cache->calls().size(), 1U);
  network->releaseAll();

  ASSERT_TRUE(answer.hasEnded());
  EXPECT_EQ(answer.value(), (Themes{{"A", entry("A")}, {"B", entry("B")}}));
  EXPECT_EQ(logger->lines().size(), 1U);
  EXPECT_EQ(cache->calls().size(), 1U);
}

TEST_F(ThemeDataServiceReleaseTest, AFailureReachesALookupWhoseServiceIsGone) {
  network->answer(url, StubNetwork::failure(TestError{"no route"}).held());
  auto service = makeService();
  const Answer answer(service->themes({"A"}));
  queues.runAll();
  service.reset();
  logger->clear();

  network->releaseAll();

  ASSERT_TRUE(answer.hasEnded());
  EXPECT_EQ(*answer.error()->as<ThemeDataServiceError>(),
            ThemeDataServiceError::other(TestError{"no route"}));
  EXPECT_THAT(logger->lines(), IsEmpty());
}

TEST_F(ThemeDataServiceReleaseTest, AFetchingLookupYieldsItsValuesWhereverTheServiceIsReleased) {
  network->answer(url, StubNetwork::body(response({entryJson("A"), entryJson("B")})).held());
  const auto undisturbed = lookup({"A", "X", "B"}, 0);
  const std::size_t answered = 12;  // three names with two reads, a line and a request each
  ASSERT_EQ(undisturbed.alive.at(answered - 1), "sendRequest");
  ASSERT_EQ(undisturbed.alive.at(answered), "upsert themes");

  for (std::size_t step = 1; step <= undisturbed.alive.size(); ++step) {
    const auto released = lookup({"A", "X", "B"}, step);
    EXPECT_EQ(released.themes, (Themes{{"A", entry("A")}, {"B", entry("B")}})) << step;
    EXPECT_EQ(released.failure, std::nullopt) << step;
    EXPECT_EQ(released.after.size(), 2U) << step;
    // Whoever calls the host holds the service until it has done its piece; nobody begins another one.
    const Calls begun(undisturbed.alive.begin(),
                      undisturbed.alive.begin() + static_cast<std::ptrdiff_t>(released.alive.size()));
    EXPECT_EQ(released.alive, begun) << step;
    EXPECT_EQ(released.alive.size(), step <= answered ? answered : endOfPiece(undisturbed.alive, step))
        << step;
  }
}

TEST_F(ThemeDataServiceReleaseTest, APieceOfWorkThatHasBegunIsDoneToItsEnd) {
  network->answer(url, StubNetwork::body(response({entryJson("A")})).held());

  const auto released = lookup({"A"}, 5);

  EXPECT_THAT(released.alive, ElementsAre("load theme", "load themes", "log fetchedThemes()", "sendRequest",
                                          "upsert themes", "log save(_:)", "save ops.theme.fetch.timestamp"));
  EXPECT_EQ(released.after, purge);
  EXPECT_EQ(released.themes, (Themes{{"A", entry("A")}}));
}

TEST_F(ThemeDataServiceReleaseTest, ALoadWhoseServiceIsReleasedIsCancelled) {
  network->answer(url, StubNetwork::body(response({entryJson("A")})).held());
  const auto undisturbed = load(0);
  EXPECT_THAT(undisturbed.completions, ElementsAre(std::nullopt));
  ASSERT_EQ(undisturbed.alive.back(), "log loadThemes(completion:), fetch completed");

  const auto last = undisturbed.alive.size();
  for (std::size_t step = 1; step < last; ++step) {
    const auto released = load(step);
    EXPECT_THAT(released.completions, IsEmpty()) << step;
    EXPECT_EQ(released.after, purge) << step;
  }
  const auto released = load(last);  // its end had come before the service was released
  EXPECT_THAT(released.completions, ElementsAre(std::nullopt));
  EXPECT_EQ(released.after, purge);
}

TEST_F(ThemeDataServiceReleaseTest, AFailedLoadWhoseServiceIsReleasedIsCancelled) {
  network->answer(url, StubNetwork::failure(TestError{"no route"}).held());
  const auto undisturbed = load(0);
  const ThemeDataServiceError noRoute = ThemeDataServiceError::other(TestError{"no route"});
  EXPECT_THAT(undisturbed.completions, ElementsAre(noRoute));
  const auto last = undisturbed.alive.size();
  ASSERT_EQ(undisturbed.alive.at(last - 2), "log VelloraService: ThemeDataServiceError: no route");

  for (std::size_t step = 1; step < last; ++step) {
    const auto released = load(step);
    EXPECT_THAT(released.completions, IsEmpty()) << step;
    EXPECT_EQ(released.after, purge) << step;
  }
  EXPECT_THAT(load(last).completions, ElementsAre(noRoute));
}

TEST_F(ThemeDataServiceReleaseTest, ALoadThatNeedsNothingCompletesWhereverTheServiceIsReleased) {
  prepare = [this] {
    keepList("[]");
    keepTimeStamp(start);
  };
  const auto undisturbed = load(0);
  EXPECT_EQ(undisturbed.alive.size(), 5U);
  for (std::size_t step = 1; step <= undisturbed.alive.size(); ++step) {
    const auto released = load(step);
    EXPECT_EQ(released.alive, undisturbed.alive) << step;
    EXPECT_THAT(released.completions, ElementsAre(std::nullopt)) << step;
    EXPECT_EQ(released.after, purge) << step;
  }
}

TEST_F(ThemeDataServiceReleaseTest, ACompletionMayReleaseTheService) {
  network->answer(url, StubNetwork::body(response({})));
  auto service = makeService();
  service->loadThemes([&](const auto&) { service.reset(); });
  queues.runAll();
  EXPECT_EQ(service, nullptr);

  service = makeService();  // the cache is valid now
  service->loadThemes([&](const auto&) { service.reset(); });
  EXPECT_EQ(service, nullptr);
}

TEST_F(ThemeDataServiceReleaseTest, ACompletionThatReleasesTheServiceDestroysIt) {
  for (const auto& answer : {StubNetwork::nothing(), StubNetwork::body(response({}))}) {
    network->answer(url, answer.held());
    auto service = makeService();
    const std::weak_ptr<ThemeDataService> weak = service;
    bool destroyed = false;
    service->loadThemes([&](const auto&) {
      service.reset();
      destroyed = weak.expired();
    });
    queues.runAll();

    network->releaseAll();

    EXPECT_TRUE(destroyed);
  }
}

TEST_F(ThemeDataServiceReleaseTest, AReleasedServiceTakesItsWaitingLoadWithIt) {
  network->answer(url, StubNetwork::body(response({})).held());
  auto service = makeService();
  bool completed = false;
  const auto captured = std::make_shared<int>();
  service->loadThemes([&completed, captured](const auto&) { completed = true; });
  EXPECT_EQ(captured.use_count(), 2);

  service.reset();
  queues.runAll();
  EXPECT_EQ(captured.use_count(), 1);
  network->releaseAll();

  EXPECT_FALSE(completed);
  EXPECT_EQ(memory->load("ops.theme.fetch.timestamp"), std::nullopt);
}

TEST_F(ThemeDataServiceReleaseTest, ALookupWhoseTokenIsDroppedLetsTheServiceGo) {
  network->answer(url, StubNetwork::never());
  auto service = makeService();
  const std::weak_ptr<ThemeDataService> weak = service;
  std::optional<Answer<Themes>> answer;
  answer.emplace(service->themes({"A"}));
  service.reset();
  EXPECT_FALSE(weak.expired());

  answer.reset();
  queues.runAll();

  EXPECT_TRUE(weak.expired());
}

}  // namespace
}  // namespace vellora::tests
