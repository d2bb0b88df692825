#include "tests/vellora/Services/ServiceFixture.h"

namespace vellora {
namespace {

using testing::ElementsAre;
using testkit::StubNetwork;
using tests::TestError;
using State = VelloraService::State;

/// Where the changes of the state are said. Each queue stands still but when a test runs it, so that a change
/// shows whether it was made inside a call, inside the network's answer, or on a queue.
class PrimerStateStreamTest : public tests::ServiceFixture {
 protected:
  void watchStates() {
    watch = service->primerStateStream().sink(
        [this](const State& state) { states.push_back(state.description()); });
  }

  /// Constructs the façade and has both of its requests sent. `themes` and `sObjects` are held.
  void constructAndSend(const StubNetwork::Answer& themes, const StubNetwork::Answer& sObjects) {
    network->answer(themesUrl, themes.held());
    network->answer(sObjectsUrl, sObjects.held());
    construct();
    watchStates();
    runAll();
  }

  std::vector<std::string> states;
  AnyCancellable watch;
};

TEST_F(PrimerStateStreamTest, TheCurrentStateIsSaidInsideTheSubscription) {
  construct();
  watchStates();
  EXPECT_THAT(states, ElementsAre("isLoading"));
}

TEST_F(PrimerStateStreamTest, AFailureIsSaidInsideTheNetworksAnswerThoughTheOtherLoadIsUnderWay) {
  constructAndSend(StubNetwork::failure(TestError{"line down"}), StubNetwork::body(sObjectsBody()));
  network->release(themesUrl);
  EXPECT_THAT(states, ElementsAre("isLoading", "failed(other(line down))"));
  EXPECT_EQ(network->held(), 1U);
}

TEST_F(PrimerStateStreamTest, TheGoodEndIsSaidOnAQueueOfTheLibrary) {
  constructAndSend(StubNetwork::body(themesBody()), StubNetwork::body(sObjectsBody()));
  network->releaseAll();
  EXPECT_THAT(states, ElementsAre("isLoading")) << "the answers have left it to a queue";
  EXPECT_EQ(queue->pending(), 0U) << "which is not the host's";
  queues.runAll();
  EXPECT_THAT(states, ElementsAre("isLoading", "loaded"));
}

TEST_F(PrimerStateStreamTest, ALookupThatRunsThePrefetchAgainSaysSoInsideItsCall) {
  constructAndLoad();
  watchStates();
  clock.advance(timeout + 1);
  Received answer;
  service->objectPresentationInfoForIds({"001"}, into(answer));
  EXPECT_THAT(states, ElementsAre("loaded", "isLoading"));
}

TEST_F(PrimerStateStreamTest, OfTwoPrefetchesThatOverlapTheFirstToEndSaysLoadedThoughItFailed) {
  constructAndSend(StubNetwork::failure(TestError{"line down"}), StubNetwork::body(sObjectsBody()));
  network->release(themesUrl);
  Received answer;
  service->objectPresentationInfoForIds({"001"}, into(answer));
  network->release(sObjectsUrl);
  queues.runAll();
  EXPECT_THAT(states, ElementsAre("isLoading", "failed(other(line down))", "isLoading", "loaded"));
  EXPECT_EQ(queue->pending(), 2U) << "the second prefetch has not begun";
}

TEST_F(PrimerStateStreamTest, OfTwoPrefetchesThatOverlapAFailureOfTheFirstStaysThoughTheSecondIsGood) {
  constructAndSend(StubNetwork::failure(TestError{"themes"}), StubNetwork::failure(TestError{"sobjects"}));
  network->release(themesUrl);
  network->answer(themesUrl, StubNetwork::body(themesBody()));
  Received answer;
  service->objectPresentationInfoForIds({"001"}, into(answer));
  network->release(sObjectsUrl);
  network->answer(sObjectsUrl, StubNetwork::body(sObjectsBody()));
  runAll();
  EXPECT_THAT(states,
              ElementsAre("isLoading", "failed(other(themes))", "isLoading", "failed(other(sobjects))"));
  EXPECT_EQ(network->count(), 4U) << "both prefetches have ended";
}

}  // namespace
}  // namespace vellora
