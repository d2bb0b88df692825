#include <memory>
#include <optional>

#include "tests/interleaving/InterleavingTest.h"
#include "tests/interleaving/Plain.h"
#include "tests/support/TestError.h"
#include "vellora/Platform/Publishers/AnyCancellable.h"
#include "vellora/Platform/Publishers/Promise.h"
#include "vellora/Platform/Publishers/Publisher.h"

namespace vellora::tests::interleaving {
namespace {

class PromisesTest : public InterleavingTest {};

/// Counts what a subscriber gets. Its variables are plain: calls that overlap, or do not see each other, are
/// data races.
struct Subscriber {
  Plain<int> values{0};
  Plain<int> ends{0};

  AnyCancellable to(const Publisher<int>& publisher) {
    return publisher.sink([this](int) { ++values.changed(); },
                          [this](const Completion&) { ++ends.changed(); });
  }
};

TEST_F(PromisesTest, OfTwoResultsOneWins) {
  tryEach([] {
    const Promise<int> promise;
    Subscriber subscriber;
    const auto token = subscriber.to(Publisher<int>::ofPromise(promise));
    atOnce({[&] { promise.succeed(1); }, [&] { promise.fail(TestError{"x"}); }});
    expect(subscriber.ends.get() == 1, "it ends once");
    expect(subscriber.values.get() <= 1, "it has one value at most");
  });
}

TEST_F(PromisesTest, WhoSubscribesBesideTheResultGetsItOnce) {
  tryEach([] {
    const Promise<int> promise;
    Subscriber early;
    Subscriber late;
    AnyCancellable token;
    const auto earlyToken = early.to(Publisher<int>::ofPromise(promise));
    atOnce({[&] { promise.succeed(1); }, [&] { token = late.to(Publisher<int>::ofPromise(promise)); }});
    expect(late.values.get() == 1 && late.ends.get() == 1, "who comes beside the result gets it once");
    expect(early.values.get() == 1 && early.ends.get() == 1, "who waited gets it once");
  });
}

TEST_F(PromisesTest, NoValueComesBehindACancellationThatMeetsTheResult) {
  tryEach([] {
    const auto held = std::make_shared<int>(0);
    const Promise<int> promise;
    bool isCancelled = false;
    int ends = 0;
    const auto token = Publisher<int>::ofPromise(promise)
                           .map([held](int value) { return value + *held; })
                           .sink([&, held](int) { expect(!isCancelled, "no value comes afterwards"); },
                                 [&, held](const Completion&) { ++ends; });
    atOnce({[&] { promise.succeed(1); },
            [&] {
              token.cancel();
              isCancelled = true;
            }});
    expect(ends <= 1, "it ends once at most");
    expect(held.use_count() == 1, "all is let go of");
  });
}

// No lock is held while a handler is called, so who cancels does not wait for an end that has begun.
TEST_F(PromisesTest, AnEndThatHasBegunMayComeBehindTheCancellationThatMeetsIt) {
  bool hasComeBehind = false;
  tryEach([&hasComeBehind] {
    const Promise<int> promise;
    bool isCancelled = false;
    const auto token = Publisher<int>::ofPromise(promise).sink(
        [](int) {}, [&](const Completion&) { hasComeBehind = hasComeBehind || isCancelled; });
    atOnce({[&] { promise.succeed(1); },
            [&] {
              token.cancel();
              isCancelled = true;
            }});
  });
  EXPECT_TRUE(hasComeBehind || !isEachTriedOf(1));
}

TEST_F(PromisesTest, ACancellationLeavesTheOtherSubscriberAlone) {
  tryEach([] {
    const Promise<int> promise;
    Subscriber stays;
    Subscriber goes;
    Subscriber comes;
    const auto staying = stays.to(Publisher<int>::ofPromise(promise));
    const auto going = goes.to(Publisher<int>::ofPromise(promise));
    AnyCancellable coming;
    atOnce({[&] { promise.succeed(1); }, [&] { going.cancel(); },
            [&] { coming = comes.to(Publisher<int>::ofPromise(promise)); }});
    expect(stays.values.get() == 1 && stays.ends.get() == 1, "who stays gets the result");
    expect(comes.values.get() == 1 && comes.ends.get() == 1, "who comes gets the result");
    expect(goes.ends.get() <= goes.values.get(), "who goes has no end without its value");
  });
}

TEST_F(PromisesTest, WhoWaitsForWhatIsDroppedIsLetGoOf) {
  tryEach([] {
    const auto held = std::make_shared<int>(0);
    auto promise = std::make_optional<Promise<int>>();
    auto publisher = std::make_optional(Publisher<int>::ofPromise(*promise));
    AnyCancellable token;
    atOnce({[&] { promise.reset(); },
            [&] {
              token = publisher->sink([held](int) {});
              publisher.reset();
            }});
    expect(held.use_count() == 1, "nobody is kept");
  });
}

TEST_F(PromisesTest, ProducersThatYieldAtOnceArePassedOnOneAtATime) {
  tryEach([] {
    const Promise<int> promises[2];  // NOLINT(modernize-avoid-c-arrays): an array of what is made in place
    Subscriber subscriber;
    const auto token = subscriber.to(Publisher<int>::sequence({0, 1}).flatMap(
        [&](int index) { return Publisher<int>::ofPromise(promises[index]); }));
    atOnce({[&] { promises[0].succeed(1); }, [&] { promises[1].succeed(2); }});
    expect(subscriber.values.get() == 2, "both values come");
    expect(subscriber.ends.get() == 1, "it ends once");
  });
}

TEST_F(PromisesTest, AFailureThatMeetsAValueIsTheEnd) {
  tryEach([] {
    const Promise<int> promises[2];  // NOLINT(modernize-avoid-c-arrays): as above
    Subscriber subscriber;
    const auto token = subscriber.to(Publisher<int>::ofPromise(promises[0])
                                         .combineLatest(Publisher<int>::ofPromise(promises[1]))
                                         .map([](const auto& pair) { return pair.first; }));
    atOnce({[&] { promises[0].succeed(1); }, [&] { promises[1].fail(TestError{"x"}); }});
    expect(subscriber.values.get() == 0, "there is no pair");
    expect(subscriber.ends.get() == 1, "it ends once");
  });
}

}  // namespace
}  // namespace vellora::tests::interleaving
