#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "tests/support/ListenedHost.h"
#include "tests/vellora/Services/ServiceFixture.h"
#include "vellora/Platform/Publishers/Publisher.h"

// A host may let go of the façade at any moment, also while the façade is calling it.

namespace vellora {
namespace {

using State = VelloraService::State;

class VelloraServiceReleaseTest : public tests::ServiceFixture {
 protected:
  /// Runs a prefetch and both presentation lookups, and lets go of the façade inside the host's call of that
  /// number, counted from 0. False when there were not as many calls.
  bool releaseInCall(std::size_t number) {
    std::size_t calls = 0;
    byId = {};
    byName = {};
    service.emplace(listenedApi([&](const std::string&) {
                      if (calls++ == number) service.reset();
                    }),
                    timeout, "light", queue);
    if (calls > number) service.reset();  // a façade under construction cannot be let go of yet
    if (service) service->objectPresentationInfoForIds({"001a", "00Bxx"}, into(byId));
    if (service) service->objectPresentationInfoForApiNames({"Account", "Contact"}, into(byName));
    runAll();
    const bool isReleased = calls > number;
    service.reset();
    runAll();
    return isReleased;
  }

  [[nodiscard]] std::shared_ptr<hostkit::StandardPlatformAPI> listenedApi(
      const tests::HostCallListener& listener) {
    const auto memory = std::make_shared<hostkit::MemoryCache>();
    held = memory;
    const auto host = tests::listenedHost(network, memory, listener);
    return std::make_shared<hostkit::StandardPlatformAPI>(host.network, host.cache, host.logger);
  }

  Received byId;
  Received byName;
  std::weak_ptr<hostkit::MemoryCache> held;
};

TEST_F(VelloraServiceReleaseTest, MayBeLetGoOfInsideAnyCallToItsHost) {
  std::size_t number = 0;
  while (releaseInCall(number)) {
    SCOPED_TRACE("call " + std::to_string(number));
    ASSERT_LE(byId.calls, 1);
    ASSERT_LE(byName.calls, 1);
    ASSERT_TRUE(held.expired()) << "something still holds the host";
    ++number;
  }
  EXPECT_GT(number, 50U);
  EXPECT_EQ(byId.calls, 1) << "nothing was let go of in the last round";
  EXPECT_EQ(byId.infos.size(), 2U);
  EXPECT_EQ(byName.infos.size(), 2U);
}

/// What a test does with the façade inside a change of its state.
class VelloraServiceReleaseInsideAChangeTest : public VelloraServiceReleaseTest {
 protected:
  /// The façade is released inside the delivery of `loaded`; behind it, but within the same delivery, all
  /// queues are run.
  void watchAndReleaseOnceLoaded() {
    const auto onceLoaded = [this](std::function<void()> action) {
      return service->primerStateStream().sink([action = std::move(action)](const State& state) {
        if (state == State::loaded()) action();
      });
    };
    first = onceLoaded([this] { service.reset(); });
    beforeTheLast();
    last = onceLoaded([this] {
      EXPECT_FALSE(service);
      logger->clear();
      runAll();
      answersWithin = byId.calls + byName.calls;
    });
  }

  std::function<void()> beforeTheLast = [] {};
  AnyCancellable first;
  AnyCancellable last;
  int answersWithin = 0;
};

TEST_F(VelloraServiceReleaseInsideAChangeTest, ALookupThatHasNotBegunIsNotAnswered) {
  construct();
  beforeTheLast = [this] { service->objectPresentationInfoForIds({"001a"}, into(byId)); };
  watchAndReleaseOnceLoaded();
  runAll();
  EXPECT_EQ(answersWithin, 0);
  EXPECT_EQ(byId.calls, 0);
  EXPECT_THAT(infosOf("objectPresentationInfoForIdsOnceLoaded"), testing::IsEmpty());
}

TEST_F(VelloraServiceReleaseInsideAChangeTest, ALookupUnderWayIsNotAnswered) {
  construct();
  watchAndReleaseOnceLoaded();
  queue->runAll();
  while (network->count() < 2) ASSERT_TRUE(queues.runNext());  // behind it: the end of the prefetch
  service->objectPresentationInfoForApiNames({"Account"}, into(byName));
  runAll();
  EXPECT_EQ(answersWithin, 0);
  EXPECT_EQ(byName.calls, 0);
}

TEST_F(VelloraServiceReleaseInsideAChangeTest, APendingLayoutLookupKeepsTheFacadeWhichAnswersUntilThen) {
  network->answerPrefix("/services/data/v50.0/search", testkit::StubNetwork::body("[]").held());
  construct();
  int layouts = 0;
  service->objectLayoutInfoForApiNames({"Account"}, [&](const auto&) { ++layouts; });
  beforeTheLast = [this] { service->objectPresentationInfoForIds({"001a"}, into(byId)); };
  watchAndReleaseOnceLoaded();
  runAll();
  EXPECT_EQ(byId.calls, 1) << "the façade lives on";
  EXPECT_EQ(layouts, 0);
  network->releaseAll();
  EXPECT_EQ(layouts, 1);
}

TEST_F(VelloraServiceReleaseTest, APendingLayoutLookupKeepsTheFacadeOnlyUntilItIsAnswered) {
  network->answerPrefix("/services/data/v50.0/search", testkit::StubNetwork::body("[]").held());
  network->answer(sObjectsUrl, testkit::StubNetwork::body(sObjectsBody()).held());
  construct();
  runAll();
  service->objectLayoutInfoForApiNames({"Account"}, [](const auto&) {});
  service->objectPresentationInfoForIds({"001a"}, into(byId));
  service.reset();
  ASSERT_EQ(network->release("/services/data/v50.0/search/layout?q=Account"), 1U);
  network->releaseAll();
  runAll();
  EXPECT_EQ(byId.calls, 0);
}

TEST_F(VelloraServiceReleaseTest, AKeptStreamOfTheStateKeepsNeitherCompletionsNorTheHost) {
  network->answer(sObjectsUrl, testkit::StubNetwork::body(sObjectsBody()).held());
  construct();
  runAll();
  const Publisher<State> kept = service->primerStateStream();
  const Publisher<WillChange> notices = service->objectWillChange();
  const auto captured = std::make_shared<int>(0);
  service->objectPresentationInfoForIds({"001a"}, [captured](const auto&) {});
  kept.sink([captured](const State&) {}).detach();
  notices.sink([captured](WillChange) {}).detach();
  EXPECT_EQ(captured.use_count(), 4);
  const auto loggers = logger.use_count();
  service.reset();
  EXPECT_EQ(captured.use_count(), 1);
  EXPECT_LT(logger.use_count(), loggers);
  network->releaseAll();
  runAll();
  EXPECT_EQ(logger.use_count(), 1);
}

}  // namespace
}  // namespace vellora
