#include <random>

#include "tests/Services/ServiceFixture.h"

// No lookup waits for ever because of timing. One façade is driven through thousands of schedules: which
// queue runs next, when an answer arrives, whether it is a failure, when a cache expires, and when a lookup
// is started, from outside or from inside a change of the state, is all drawn from a seed, and each seed's
// outcome is checked.

namespace vellora {
namespace {

using testkit::StubNetwork;
using tests::TestError;

class SchedulesTest : public tests::ServiceFixture {
 protected:
  static constexpr int lookups = 6;

  struct Lookup {
    Answer answer;
    bool byId = false;
  };

  /// Runs one schedule to its end. True when every lookup that must be answered was, exactly once.
  void run(unsigned seed, bool withFailures) {
    random.seed(seed);
    started.clear();
    const auto answerOf = [&](const std::string& body) {
      std::vector<StubNetwork::Answer> answers;
      for (int i = 0; i < 8; ++i) {
        const bool fails = withFailures && draw(3) == 0;
        const auto answer = fails ? StubNetwork::failure(TestError{"line down"}) : StubNetwork::body(body);
        answers.push_back(draw(2) == 0 ? answer : answer.held());
      }
      answers.push_back(StubNetwork::body(body).held());
      return answers;
    };
    network->answer(themesUrl, answerOf(themesBody()));
    network->answer(sObjectsUrl, answerOf(sObjectsBody()));
    construct();
    const auto token = service->primerStateStream().sink([&](const auto&) {
      if (draw(3) == 0) startLookup();
    });
    while (step()) {
    }
  }

  /// Does one of the things that can happen next; false when nothing is left to happen.
  bool step() {
    const std::size_t queued = queues.choices();
    const std::size_t onHostQueue = queue->pending() > 0 ? 1 : 0;
    const std::size_t held = network->held() > 0 ? 1 : 0;
    const std::size_t starts = started.size() < lookups ? 1 : 0;
    const std::size_t all = queued + onHostQueue + held + starts;
    if (all == 0) return false;
    const std::size_t choice = draw(all);
    if (choice < queued) {
      queues.runChoice(choice);
    } else if (choice < queued + onHostQueue) {
      queue->runNext();
    } else if (choice < queued + onHostQueue + held) {
      network->releaseOne();
    } else {
      if (draw(4) == 0) clock.advance(timeout + 1);
      startLookup();
    }
    return true;
  }

  void startLookup() {
    if (started.size() >= lookups) return;
    auto& lookup = *started.emplace_back(std::make_unique<Lookup>());
    lookup.byId = draw(4) != 0;
    if (lookup.byId) {
      service->objectPresentationInfoForIds({"001a", "zzz"}, into(lookup.answer));
    } else {
      service->objectPresentationInfoForApiNames({"Account"}, into(lookup.answer));
    }
  }

  std::size_t draw(std::size_t below) { return random() % below; }

  std::mt19937 random;
  std::vector<std::unique_ptr<Lookup>> started;
};

TEST_F(SchedulesTest, EveryLookupIsAnsweredOnceWhateverTheTiming) {
  for (unsigned seed = 0; seed < 2000; ++seed) {
    run(seed, false);
    ASSERT_EQ(started.size(), static_cast<std::size_t>(lookups)) << "seed " << seed;
    for (const auto& lookup : started) {
      ASSERT_EQ(lookup->answer.calls, 1) << "seed " << seed;
      ASSERT_EQ(lookup->answer.infos.size(), 1U) << "seed " << seed;
    }
    ASSERT_EQ(service->primerState(), VelloraService::State::loaded()) << "seed " << seed;
    service.reset();
    runAll();
  }
}

TEST_F(SchedulesTest, WithFailuresANameLookupIsAnsweredOnceAndAnIdLookupAtMostOnceAndIsAlwaysOver) {
  const std::string over = "objectPresentationInfoForIdsOnceLoaded(_:completion:)";
  for (unsigned seed = 0; seed < 2000; ++seed) {
    logger->clear();
    run(seed, true);
    std::size_t byId = 0;
    for (const auto& lookup : started) {
      byId += lookup->byId ? 1 : 0;
      ASSERT_LE(lookup->answer.calls, 1) << "seed " << seed;
      ASSERT_GE(lookup->answer.calls, lookup->byId ? 0 : 1) << "seed " << seed;
    }
    std::size_t ended = 0;
    for (const auto& line : infos()) ended += line == over ? 1 : 0;
    ASSERT_EQ(ended, byId) << "seed " << seed << ": an id lookup is still waiting";
    ASSERT_NE(service->primerState(), VelloraService::State::isLoading()) << "seed " << seed;
    service.reset();
    runAll();
  }
}

}  // namespace
}  // namespace vellora
