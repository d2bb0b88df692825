#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/TestError.h"
#include "vellora/Platform/Publishers/Cancellables.h"
#include "vellora/Platform/Publishers/Published.h"
#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/Subject.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"

namespace vellora {
namespace {

constexpr int rounds = 300;

/// Runs all `actions` at the same moment, each on its own thread, and waits for their ends.
void race(const std::vector<std::function<void()>>& actions) {
  std::barrier start(static_cast<std::ptrdiff_t>(actions.size()));
  std::vector<std::thread> threads;
  threads.reserve(actions.size());
  for (const auto& action : actions) {
    threads.emplace_back([&] {
      start.arrive_and_wait();
      action();
    });
  }
  for (auto& thread : threads) thread.join();
}

TEST(PublisherRaceTest, OfSeveralResultsExactlyOneWins) {
  for (int round = 0; round < rounds; ++round) {
    std::optional<Promise<int>> promise;
    const auto publisher = Publisher<int>::promise([&](const Promise<int>& given) { promise = given; });
    std::atomic<int> values = 0;
    std::atomic<int> completions = 0;
    const auto token = publisher.sink([&](int) { ++values; }, [&](const Completion&) { ++completions; });
    race({[&] { promise->succeed(1); }, [&] { promise->succeed(2); },
          [&] { promise->fail(tests::TestError{"x"}); }});
    ASSERT_EQ(completions, 1);
    ASSERT_LE(values, 1);
  }
}

TEST(PublisherRaceTest, ASubscriberThatRacesWithTheResultIsServedOnce) {
  for (int round = 0; round < rounds; ++round) {
    std::optional<Promise<int>> promise;
    const auto publisher = Publisher<int>::promise([&](const Promise<int>& given) { promise = given; });
    std::atomic<int> values = 0;
    std::atomic<int> completions = 0;
    AnyCancellable token;
    race(
        {[&] { promise->succeed(1); },
         [&] { token = publisher.sink([&](int) { ++values; }, [&](const Completion&) { ++completions; }); }});
    ASSERT_EQ(values, 1);
    ASSERT_EQ(completions, 1);
  }
}

TEST(PublisherRaceTest, CancellingWhileTheResultArrivesReleasesEverything) {
  for (int round = 0; round < rounds; ++round) {
    const auto held = std::make_shared<int>(0);
    std::optional<Promise<int>> promise;
    std::atomic<int> completions = 0;
    AnyCancellable token = Publisher<int>::promise([&](const Promise<int>& given) {
                             promise = given;
                           }).map([held](int value) {
                               return value + *held;
                             }).sink([held](int) {}, [&, held](const Completion&) { ++completions; });
    race({[&] { promise->succeed(1); }, [&] { token.cancel(); }});
    ASSERT_LE(completions, 1);
    ASSERT_EQ(held.use_count(), 1);
  }
}

TEST(PublisherRaceTest, InnerProducersOnSeveralThreadsAreDeliveredOneAtATimeAndAllOfThem) {
  for (int round = 0; round < rounds; ++round) {
    std::vector<Promise<int>> promises(4);
    std::atomic<int> inside = 0;
    bool overlapped = false;
    std::vector<int> values;
    std::atomic<int> ends = 0;
    const auto token = Publisher<int>::sequence({0, 1, 2, 3})
                           .flatMap([&](int index) {
                             return Publisher<int>::promise([&](const Promise<int>& promise) {
                               promises[static_cast<std::size_t>(index)] = promise;
                             });
                           })
                           .sink(
                               [&](int value) {
                                 if (++inside > 1) overlapped = true;
                                 values.push_back(value);
                                 --inside;
                               },
                               [&](const Completion&) { ++ends; });
    race({[&] { promises[0].succeed(0); }, [&] { promises[1].succeed(1); }, [&] { promises[2].succeed(2); },
          [&] { promises[3].succeed(3); }});
    ASSERT_FALSE(overlapped);
    ASSERT_EQ(values.size(), 4U);
    ASSERT_EQ(ends, 1);
  }
}

TEST(PublisherRaceTest, AnInnerFailureThatRacesWithValuesEndsTheWholeOnce) {
  for (int round = 0; round < rounds; ++round) {
    std::vector<Promise<int>> promises(3);
    int failures = 0;
    int ends = 0;
    int afterTheEnd = 0;
    const auto token = Publisher<int>::sequence({0, 1, 2})
                           .flatMap([&](int index) {
                             return Publisher<int>::promise([&](const Promise<int>& promise) {
                               promises[static_cast<std::size_t>(index)] = promise;
                             });
                           })
                           .sink([&](int) { afterTheEnd += failures + ends; },
                                 [&](const Completion& completion) { (completion ? failures : ends)++; });
    race({[&] { promises[0].succeed(0); }, [&] { promises[1].fail(tests::TestError{"x"}); },
          [&] { promises[2].succeed(2); }});
    ASSERT_EQ(failures, 1);
    ASSERT_EQ(ends, 0);
    ASSERT_EQ(afterTheEnd, 0);
  }
}

TEST(PublisherRaceTest, BothSidesOfAPairMayArriveAtOnce) {
  for (int round = 0; round < rounds; ++round) {
    std::vector<Promise<int>> promises(2);
    const auto side = [&](std::size_t index) {
      return Publisher<int>::promise([&, index](const Promise<int>& promise) { promises[index] = promise; });
    };
    int pairs = 0;
    int ends = 0;
    const auto first = side(0);
    const auto second = side(1);
    const auto latest =
        first.combineLatest(second).sink([&](const auto&) { ++pairs; }, [&](const Completion&) { ++ends; });
    race({[&] { promises[0].succeed(1); }, [&] { promises[1].succeed(2); }});
    ASSERT_EQ(pairs, 1);
    ASSERT_EQ(ends, 1);
  }
}

TEST(PublisherRaceTest, APublisherMayBeUsedUpOnOneThreadWhileAnotherLetsGoOfIt) {
  const auto queue = std::make_shared<SerialDispatchQueue>("race");
  for (int round = 0; round < rounds; ++round) {
    const std::string text = "long enough to stand outside of its object";
    std::promise<std::string> found;
    auto publisher = std::make_optional(
        Publisher<std::string>::just(text).map([](std::string value) { return value; }).subscribe(queue));
    const auto token = publisher->sink([&](std::string value) { found.set_value(std::move(value)); });
    publisher.reset();
    ASSERT_EQ(found.get_future().get(), text);
  }
}

TEST(PublisherRaceTest, ReceiveOnAConcurrentQueueKeepsTheOrderAndDeliversOneAtATime) {
  for (int round = 0; round < 20; ++round) {
    std::vector<int> sent(200);
    for (std::size_t i = 0; i < sent.size(); ++i) sent[i] = static_cast<int>(i);
    std::vector<int> values;
    std::promise<void> done;
    const auto token =
        Publisher<int>::sequence(sent)
            .receive(DispatchQueue::global(DispatchQoS::userInitiated))
            .sink([&](int value) { values.push_back(value); }, [&](const Completion&) { done.set_value(); });
    done.get_future().wait();
    ASSERT_EQ(values, sent);
  }
}

TEST(PublisherRaceTest, DroppingTheTokenWhileWorkHopsThroughAQueueLosesNothingThatIsNeeded) {
  const auto queue = std::make_shared<SerialDispatchQueue>("race");
  for (int round = 0; round < rounds; ++round) {
    const auto held = std::make_shared<int>(0);
    AnyCancellable token = Publisher<int>::sequence({1, 2, 3})
                               .receive(queue)
                               .map([held](int value) { return value; })
                               .subscribe(queue)
                               .sink([held](int) {});
    race({[&] { token.cancel(); }});
    std::promise<void> flushed;
    queue->async([&] { queue->async([&] { queue->async([&] { flushed.set_value(); }); }); });
    flushed.get_future().wait();
    ASSERT_EQ(held.use_count(), 1);
  }
}

TEST(PublisherRaceTest, OneTokenMayBeCancelledFromSeveralThreads) {
  const Subject<int> subject;
  for (int round = 0; round < rounds; ++round) {
    int values = 0;
    AnyCancellable token = subject.publisher().sink([&](int) { ++values; });
    race({[&] { token.cancel(); }, [&] { token.cancel(); }});
    subject.send(1);
    ASSERT_EQ(values, 0);
  }
}

TEST(PublisherRaceTest, TokensMayBeKeptFromSeveralThreads) {
  Cancellables tokens;
  const Subject<int> subject;
  std::atomic<int> values = 0;
  const auto keepHundred = [&] {
    for (int i = 0; i < 100; ++i) tokens.insert(subject.publisher().sink([&](int) { ++values; }));
  };
  race({keepHundred, keepHundred, keepHundred, keepHundred});
  EXPECT_EQ(tokens.size(), 400U);
  subject.send(1);
  EXPECT_EQ(values, 400);
}

TEST(PublisherRaceTest, ASubscriptionThatEndsWhileItsOwnerTakesItLeavesNothing) {
  Cancellables owner;
  for (int round = 0; round < rounds; ++round) {
    std::optional<Promise<int>> promise;
    const auto publisher = Publisher<int>::promise([&](const Promise<int>& given) { promise = given; });
    AnyCancellable token = publisher.sink([](int) {});
    race({[&] { promise->succeed(1); }, [&] { owner.insert(std::move(token)); },
          [&] {
            publisher.sink(
                owner, [](int) {}, [](const Completion&) {});
          }});
    ASSERT_EQ(owner.size(), 0U);
  }
}

TEST(PublisherRaceTest, AnOwnerThatIsClosedWhileSubscriptionsStartAndEndLeavesNoneRunning) {
  for (int round = 0; round < rounds; ++round) {
    const Subject<int> subject;
    const auto held = std::make_shared<int>(0);
    std::atomic<int> values = 0;
    const Cancellables owner;
    const auto start = [&] {
      subject.publisher().sink(
          owner, [&, held](int) { ++values; }, [](const Completion&) {});
    };
    start();
    race({[&] { owner.close(); }, start, [&] { subject.send(1); }});
    const int until = values;
    subject.send(1);
    ASSERT_EQ(values, until);
    ASSERT_EQ(held.use_count(), 1);
    ASSERT_EQ(owner.size(), 0U);
  }
}

TEST(PublisherRaceTest, APropertyThatIsDestroyedWhileSomebodySubscribesToItsStreamKeepsNobody) {
  for (int round = 0; round < rounds; ++round) {
    std::optional<Published<int>> property(std::in_place, 1, Subject<WillChange>());
    const Publisher<int> stream = property->stream();
    const auto held = std::make_shared<int>(0);
    std::atomic<int> values = 0;
    race({[&] { property.reset(); }, [&] { stream.sink([&, held](int) { ++values; }).detach(); }});
    ASSERT_LE(values, 1);
    ASSERT_EQ(held.use_count(), 1);
  }
}

}  // namespace
}  // namespace vellora
