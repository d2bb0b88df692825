#include "vellora/Platform/Publishers/Publisher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "testkit/ManualQueue.h"
#include "tests/support/TestError.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Publishers/Subject.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testkit::ManualQueue;
using tests::TestError;

/// Writes down what a pipeline delivers: values as they are, the end as "end" or "failed: …".
template <class T>
class Recorder {
 public:
  void subscribe(const Publisher<T>& publisher) {
    token = publisher.sink(
        [this](const T& value) { events.push_back(testing::PrintToString(value)); },
        [this](const Completion& completion) {
          events.push_back(completion ? "failed: " + completion->localizedDescription() : "end");
        });
  }

  std::vector<std::string> events;
  AnyCancellable token;
};

/// Counts its copies.
struct Heavy {
  Heavy() = default;
  Heavy(const Heavy& other) : copies(other.copies + 1) {}
  Heavy(Heavy&& other) noexcept = default;
  int copies = 0;
};

template <class T>
std::vector<std::string> eventsOf(const Publisher<T>& publisher) {
  Recorder<T> recorder;
  recorder.subscribe(publisher);
  return recorder.events;
}

TEST(PublisherTest, JustYieldsOneValueThenEnds) {
  EXPECT_THAT(eventsOf(Publisher<int>::just(7)), ElementsAre("7", "end"));
}

TEST(PublisherTest, FailOnlyFails) {
  EXPECT_THAT(eventsOf(Publisher<int>::fail(TestError{"broken"})), ElementsAre("failed: broken"));
}

TEST(PublisherTest, SequenceYieldsItsElementsInOrder) {
  EXPECT_THAT(eventsOf(Publisher<int>::sequence({3, 1, 2})), ElementsAre("3", "1", "2", "end"));
  EXPECT_THAT(eventsOf(Publisher<int>::sequence({})), ElementsAre("end"));
}

TEST(PublisherTest, SequenceStopsWhenItsSubscriberCancels) {
  const Subject<int> start;
  int yielded = 0;
  std::vector<int> values;
  bool ended = false;
  AnyCancellable token = start.publisher()
                             .flatMap([&](int) {
                               return Publisher<int>::sequence({1, 2, 3}).map([&](int value) {
                                 ++yielded;
                                 return value;
                               });
                             })
                             .sink(
                                 [&](int value) {
                                   values.push_back(value);
                                   if (value == 2) token.cancel();
                                 },
                                 [&](const Completion&) { ended = true; });
  start.send(0);
  EXPECT_THAT(values, ElementsAre(1, 2));
  EXPECT_EQ(yielded, 2);
  EXPECT_FALSE(ended);
}

TEST(PublisherTest, PromiseRunsItsBodyOnceWhenItIsBuilt) {
  int runs = 0;
  const auto publisher = Publisher<int>::promise([&](const Promise<int>& promise) {
    ++runs;
    promise.succeed(5);
  });
  EXPECT_EQ(runs, 1);
  EXPECT_THAT(eventsOf(publisher), ElementsAre("5", "end"));
  EXPECT_THAT(eventsOf(publisher), ElementsAre("5", "end"));
  EXPECT_EQ(runs, 1);
}

TEST(PublisherTest, PromiseRemembersTheFirstResult) {
  const auto publisher = Publisher<int>::promise([](const Promise<int>& promise) {
    promise.succeed(1);
    promise.succeed(2);
    promise.fail(TestError{"late"});
  });
  EXPECT_THAT(eventsOf(publisher), ElementsAre("1", "end"));
}

TEST(PublisherTest, PromiseDeliversToEverySubscriberThatWaits) {
  std::optional<Promise<int>> promise;
  const auto publisher = Publisher<int>::promise([&](const Promise<int>& given) { promise = given; });
  Recorder<int> first;
  Recorder<int> second;
  first.subscribe(publisher);
  second.subscribe(publisher);
  EXPECT_THAT(first.events, IsEmpty());
  promise->fail(TestError{"broken"});
  promise->succeed(1);
  EXPECT_THAT(first.events, ElementsAre("failed: broken"));
  EXPECT_THAT(second.events, ElementsAre("failed: broken"));
  EXPECT_THAT(eventsOf(publisher), ElementsAre("failed: broken"));
}

TEST(PublisherTest, DeferredRunsItsBodyAtEachSubscription) {
  int runs = 0;
  const auto publisher = Publisher<int>::deferred([&] { return Publisher<int>::just(++runs); });
  EXPECT_EQ(runs, 0);
  EXPECT_THAT(eventsOf(publisher), ElementsAre("1", "end"));
  EXPECT_THAT(eventsOf(publisher), ElementsAre("2", "end"));
}

TEST(PublisherTest, MapPassesValuesThroughItsFunction) {
  EXPECT_THAT(
      eventsOf(Publisher<int>::sequence({1, 2}).map([](int value) { return std::to_string(value * 10); })),
      ElementsAre("\"10\"", "\"20\"", "end"));
  EXPECT_THAT(eventsOf(Publisher<int>::fail(TestError{"broken"}).map([](int value) { return value; })),
              ElementsAre("failed: broken"));
}

TEST(PublisherTest, MapErrorReplacesTheErrorOnly) {
  const auto renamed = [](const Error& error) {
    return TestError{"renamed " + error.localizedDescription()};
  };
  EXPECT_THAT(eventsOf(Publisher<int>::fail(TestError{"broken"}).mapError(renamed)),
              ElementsAre("failed: renamed broken"));
  EXPECT_THAT(eventsOf(Publisher<int>::just(1).mapError(renamed)), ElementsAre("1", "end"));
}

Result<int> belowThree(int value) {
  if (value < 3) return value;
  return Error(TestError{"too large"});
}

TEST(PublisherTest, TryMapFailsAtTheFirstErrorAndIgnoresLaterValues) {
  int calls = 0;
  const auto counted = [&](int value) {
    ++calls;
    return belowThree(value);
  };
  EXPECT_THAT(eventsOf(Publisher<int>::sequence({1, 3, 2}).tryMap(counted)),
              ElementsAre("1", "failed: too large"));
  EXPECT_EQ(calls, 2);
}

TEST(PublisherTest, TryMapCancelsUpstreamOnFailure) {
  const Subject<int> subject;
  const auto queue = std::make_shared<ManualQueue>();
  Recorder<int> recorder;
  int calls = 0;
  recorder.subscribe(subject.publisher()
                         .map([&](int value) {
                           ++calls;
                           return value;
                         })
                         .tryMap(belowThree)
                         .receive(queue));
  subject.send(5);
  subject.send(1);
  EXPECT_EQ(calls, 1);
  queue->runAll();
  EXPECT_THAT(recorder.events, ElementsAre("failed: too large"));
}

TEST(PublisherTest, ADecoderReadsEachValueAndFailsAtTheFirstThatIsNone) {
  const Subject<Data> texts;
  Recorder<std::string> recorder;
  recorder.subscribe(texts.publisher().tryMap(json::decodeOnce<std::string>));
  texts.send(Data(std::string("\"a\"")));
  texts.send(Data(std::string("1")));
  texts.send(Data(std::string("\"b\"")));
  EXPECT_THAT(recorder.events, ElementsAre("\"a\"", "failed: expected a string at $"));
}

TEST(PublisherTest, ADecoderCancelsUpstreamOnFailure) {
  const Subject<std::string> texts;
  const auto queue = std::make_shared<ManualQueue>();
  Recorder<std::string> recorder;
  int calls = 0;
  recorder.subscribe(texts.publisher()
                         .map([&](const std::string& text) {
                           ++calls;
                           return Data(text);
                         })
                         .tryMap(json::decodeOnce<std::string>)
                         .receive(queue));
  texts.send("not JSON");
  texts.send("\"b\"");
  EXPECT_EQ(calls, 1);
}

TEST(PublisherTest, FirstPassesOnTheFirstAdmittedValueAndCancelsUpstream) {
  const Subject<int> subject;
  int seen = 0;
  Recorder<int> recorder;
  recorder.subscribe(subject.publisher()
                         .map([&](int value) {
                           ++seen;
                           return value;
                         })
                         .first([](int value) { return value > 1; }));
  subject.send(1);
  EXPECT_THAT(recorder.events, IsEmpty());
  subject.send(2);
  subject.send(3);
  EXPECT_THAT(recorder.events, ElementsAre("2", "end"));
  EXPECT_EQ(seen, 2);
}

TEST(PublisherTest, FirstOfAnUpstreamWithoutAnAdmittedValueOnlyEnds) {
  const auto none = [](int) { return false; };
  EXPECT_THAT(eventsOf(Publisher<int>::sequence({1, 2}).first(none)), ElementsAre("end"));
  EXPECT_THAT(eventsOf(Publisher<int>::fail(TestError{"broken"}).first(none)), ElementsAre("failed: broken"));
}

TEST(PublisherTest, FlatMapMergesInTheOrderInWhichInnerProducersYield) {
  std::vector<Promise<int>> promises(2);
  Recorder<int> recorder;
  recorder.subscribe(Publisher<int>::sequence({0, 1}).flatMap([&](int index) {
    return Publisher<int>::promise(
        [&](const Promise<int>& promise) { promises[static_cast<std::size_t>(index)] = promise; });
  }));
  promises[1].succeed(11);
  EXPECT_THAT(recorder.events, ElementsAre("11"));
  promises[0].succeed(10);
  EXPECT_THAT(recorder.events, ElementsAre("11", "10", "end"));
}

TEST(PublisherTest, FlatMapEndsWhenUpstreamAndAllInnerProducersHaveEnded) {
  EXPECT_THAT(eventsOf(Publisher<int>::sequence({}).flatMap([](int v) { return Publisher<int>::just(v); })),
              ElementsAre("end"));
  EXPECT_THAT(eventsOf(Publisher<int>::sequence({1, 2}).flatMap([](int v) {
                return Publisher<int>::sequence({v, v * 10});
              })),
              ElementsAre("1", "10", "2", "20", "end"));
}

TEST(PublisherTest, FlatMapFailsAsAWholeAndCancelsTheOtherInnerProducers) {
  std::vector<Promise<int>> promises(2);
  int mapped = 0;
  Recorder<int> recorder;
  recorder.subscribe(Publisher<int>::sequence({0, 1}).flatMap([&](int index) {
    return Publisher<int>::promise(
               [&](const Promise<int>& promise) { promises[static_cast<std::size_t>(index)] = promise; })
        .map([&](int value) {
          ++mapped;
          return value;
        });
  }));
  promises[0].fail(TestError{"broken"});
  promises[1].succeed(1);
  EXPECT_THAT(recorder.events, ElementsAre("failed: broken"));
  EXPECT_EQ(mapped, 0);
}

TEST(PublisherTest, FlatMapCancelsTheOtherInnerProducersThoughItsFailureIsStillOnItsWay) {
  const auto queue = std::make_shared<ManualQueue>();
  std::vector<Subject<int>> subjects(2);
  int mapped = 0;
  Recorder<int> recorder;
  recorder.subscribe(Publisher<int>::sequence({0, 1, 2})
                         .flatMap([&](int index) {
                           if (index == 2) return Publisher<int>::fail(TestError{"broken"});
                           return subjects[static_cast<std::size_t>(index)].publisher().map([&](int value) {
                             ++mapped;
                             return value;
                           });
                         })
                         .receive(queue));
  subjects[0].send(1);
  EXPECT_EQ(mapped, 0);
  queue->runAll();
  EXPECT_THAT(recorder.events, ElementsAre("failed: broken"));
}

TEST(PublisherTest, FlatMapDropsWhatStillWaitsWhenItsSubscriberCancels) {
  std::vector<Subject<int>> subjects(2);
  int mapped = 0;
  Recorder<int> recorder;
  recorder.subscribe(
      Publisher<int>::sequence({0, 1})
          .flatMap([&](int index) { return subjects[static_cast<std::size_t>(index)].publisher(); })
          .map([&](int value) {
            ++mapped;
            subjects[1].send(2);
            recorder.token.cancel();
            return value;
          }));
  subjects[0].send(1);
  EXPECT_EQ(mapped, 1);
  EXPECT_THAT(recorder.events, IsEmpty());
}

TEST(PublisherTest, FlatMapStartsNothingAfterAFailure) {
  int started = 0;
  EXPECT_THAT(eventsOf(Publisher<int>::sequence({1, 2, 3}).flatMap([&](int value) {
                ++started;
                return value == 2 ? Publisher<int>::fail(TestError{"broken"}) : Publisher<int>::just(value);
              })),
              ElementsAre("1", "failed: broken"));
  EXPECT_EQ(started, 2);
}

TEST(PublisherTest, FlatMapDeliversAValueFromInsideADeliveryAfterIt) {
  const Subject<int> subject;
  std::vector<std::string> events;
  const auto token =
      subject.publisher().flatMap([](int v) { return Publisher<int>::just(v); }).sink([&](int value) {
        events.push_back("in " + std::to_string(value));
        if (value == 1) subject.send(2);
        events.push_back("out " + std::to_string(value));
      });
  subject.send(1);
  EXPECT_THAT(events, ElementsAre("in 1", "out 1", "in 2", "out 2"));
}

TEST(PublisherTest, CollectYieldsOneListInTheOrderOfArrival) {
  EXPECT_THAT(eventsOf(Publisher<int>::sequence({2, 1}).collect()), ElementsAre("{ 2, 1 }", "end"));
  EXPECT_THAT(eventsOf(Publisher<int>::sequence({}).collect()), ElementsAre("{}", "end"));
}

TEST(PublisherTest, CollectPassesOnOnlyTheFailure) {
  EXPECT_THAT(eventsOf(Publisher<int>::sequence({1, 3}).tryMap(belowThree).collect()),
              ElementsAre("failed: too large"));
}

TEST(PublisherTest, ResultsMakesAFailureTheLastValueBeforeANormalEnd) {
  Promise<int> failing;
  std::vector<std::string> seen;
  const auto token = Publisher<int>::ofPromise(failing).results().sink(
      [&](const Result<int>& result) {
        seen.push_back(result ? "value" : result.error().localizedDescription());
      },
      [&](const Completion& end) { seen.push_back(end ? "failure" : "end"); });
  failing.fail(tests::TestError{"down"});
  EXPECT_EQ(seen, (std::vector<std::string>{"down", "end"}));
  seen.clear();
  const auto other = Publisher<int>::just(1).results().sink(
      [&](const Result<int>& result) { seen.push_back(result ? "value" : "error"); },
      [&](const Completion& end) { seen.push_back(end ? "failure" : "end"); });
  EXPECT_EQ(seen, (std::vector<std::string>{"value", "end"}));
}

TEST(PublisherTest, CombineLatestYieldsOnceBothHaveAValueAndAtEachNewerOne) {
  const Subject<int> first;
  const Subject<int> second;
  Recorder<std::pair<int, int>> recorder;
  recorder.subscribe(first.publisher().combineLatest(second.publisher()));
  first.send(1);
  EXPECT_THAT(recorder.events, IsEmpty());
  second.send(10);
  second.send(20);
  first.send(2);
  EXPECT_THAT(recorder.events, ElementsAre("(1, 10)", "(1, 20)", "(2, 20)"));
}

TEST(PublisherTest, CombineLatestEndsWhenBothHaveEnded) {
  std::optional<Promise<int>> promise;
  Recorder<std::pair<int, int>> recorder;
  recorder.subscribe(Publisher<int>::just(1).combineLatest(
      Publisher<int>::promise([&](const Promise<int>& given) { promise = given; })));
  EXPECT_THAT(recorder.events, IsEmpty());
  promise->succeed(2);
  EXPECT_THAT(recorder.events, ElementsAre("(1, 2)", "end"));
}

TEST(PublisherTest, CombineLatestFailsWhenEitherFails) {
  const auto one = Publisher<int>::just(1);
  const auto broken = Publisher<int>::fail(TestError{"broken"});
  EXPECT_THAT(eventsOf(one.combineLatest(broken)), ElementsAre("failed: broken"));
  EXPECT_THAT(eventsOf(broken.combineLatest(one)), ElementsAre("failed: broken"));
}

TEST(PublisherTest, CombineLatestPairsTheLastOfOneThatHasEndedWithEachValueOfTheOther) {
  EXPECT_THAT(eventsOf(Publisher<int>::just(1).combineLatest(Publisher<int>::just(2))),
              ElementsAre("(1, 2)", "end"));
  EXPECT_THAT(eventsOf(Publisher<int>::sequence({1, 2, 3}).combineLatest(Publisher<int>::sequence({10, 20}))),
              ElementsAre("(3, 10)", "(3, 20)", "end"));
}

TEST(PublisherTest, CombineLatestPairsNothingWithOneThatEndsWithoutAValue) {
  EXPECT_THAT(eventsOf(Publisher<int>::sequence({}).combineLatest(Publisher<int>::sequence({10, 20}))),
              ElementsAre("end"));
}

TEST(PublisherTest, CombineLatestRunsNoClosureOfTheSecondAfterTheFirstHasFailed) {
  int mapped = 0;
  const auto second = Publisher<int>::just(1).map([&](int value) {
    ++mapped;
    return value;
  });
  EXPECT_THAT(eventsOf(Publisher<int>::fail(TestError{"broken"}).combineLatest(second)),
              ElementsAre("failed: broken"));
  EXPECT_EQ(mapped, 0);
}

TEST(PublisherTest, ReceiveTakesOneHopForEachValueAndOneForTheEnd) {
  const auto queue = std::make_shared<ManualQueue>();
  Recorder<int> recorder;
  recorder.subscribe(Publisher<int>::sequence({1, 2}).receive(queue));
  EXPECT_EQ(queue->pending(), 3U);
  EXPECT_THAT(recorder.events, IsEmpty());
  queue->runNext();
  EXPECT_THAT(recorder.events, ElementsAre("1"));
  queue->runAll();
  EXPECT_THAT(recorder.events, ElementsAre("1", "2", "end"));
}

TEST(PublisherTest, ReceiveDropsAValueThatIsStillQueuedWhenCancelled) {
  const auto queue = std::make_shared<ManualQueue>();
  Recorder<int> recorder;
  recorder.subscribe(Publisher<int>::just(1).receive(queue));
  recorder.token.cancel();
  queue->runAll();
  EXPECT_THAT(recorder.events, IsEmpty());
}

TEST(PublisherTest, SubscribeMovesTheStartButNotTheBodyOfAPromise) {
  const auto queue = std::make_shared<ManualQueue>();
  int promised = 0;
  int deferred = 0;
  const auto promise = Publisher<int>::promise([&](const Promise<int>& given) {
    ++promised;
    given.succeed(1);
  });
  Recorder<int> one;
  one.subscribe(promise.subscribe(queue));
  Recorder<int> other;
  other.subscribe(Publisher<int>::deferred([&] {
                    ++deferred;
                    return Publisher<int>::just(2);
                  }).subscribe(queue));
  EXPECT_EQ(promised, 1);
  EXPECT_EQ(deferred, 0);
  EXPECT_THAT(one.events, IsEmpty());
  queue->runAll();
  EXPECT_EQ(deferred, 1);
  EXPECT_THAT(one.events, ElementsAre("1", "end"));
  EXPECT_THAT(other.events, ElementsAre("2", "end"));
}

TEST(PublisherTest, SubscribeLeavesValuesWhereUpstreamYieldsThem) {
  const auto queue = std::make_shared<ManualQueue>();
  const Subject<int> subject;
  Recorder<int> recorder;
  recorder.subscribe(subject.publisher().subscribe(queue));
  queue->runAll();
  subject.send(4);
  EXPECT_EQ(queue->pending(), 0U);
  EXPECT_THAT(recorder.events, ElementsAre("4"));
}

TEST(PublisherTest, SubscribeCancelsOnTheQueueButSilencesAtOnce) {
  const auto queue = std::make_shared<ManualQueue>();
  const Subject<int> subject;
  int mapped = 0;
  Recorder<int> recorder;
  recorder.subscribe(subject.publisher()
                         .map([&](int value) {
                           ++mapped;
                           return value;
                         })
                         .subscribe(queue));
  queue->runAll();
  recorder.token.cancel();
  subject.send(1);
  EXPECT_THAT(recorder.events, IsEmpty());
  EXPECT_EQ(mapped, 1);
  queue->runAll();
  subject.send(2);
  EXPECT_EQ(mapped, 1);
}

TEST(PublisherTest, ASubscriptionCancelledBeforeItsTurnIsNeverStarted) {
  const auto queue = std::make_shared<ManualQueue>();
  int started = 0;
  Recorder<int> recorder;
  recorder.subscribe(Publisher<int>::deferred([&] {
                       ++started;
                       return Publisher<int>::just(1);
                     }).subscribe(queue));
  recorder.token.cancel();
  queue->runAll();
  EXPECT_EQ(started, 0);
  EXPECT_THAT(recorder.events, IsEmpty());
}

TEST(PublisherTest, AnEndedInnerSubscriptionLeavesNothingBehindInThePipelineAroundIt) {
  const auto queue = std::make_shared<ManualQueue>();
  const Subject<int> subject;
  Recorder<int> recorder;
  recorder.subscribe(subject.publisher().flatMap(
      [&queue](int value) { return Publisher<int>::just(value).subscribe(queue); }));
  const auto handles = queue.use_count();
  subject.send(1);
  subject.send(2);
  queue->runAll();
  EXPECT_THAT(recorder.events, ElementsAre("1", "2"));
  EXPECT_EQ(queue.use_count(), handles);
}

TEST(PublisherTest, DroppingTheTokenAtOnceCancelsAtOnce) {
  std::optional<Promise<int>> promise;
  int values = 0;
  {
    const auto token = Publisher<int>::promise([&](const Promise<int>& given) {
                         promise = given;
                       }).sink([&](int) { ++values; });
  }
  promise->succeed(1);
  EXPECT_EQ(values, 0);
}

TEST(PublisherTest, CancellingFromInsideTheValueHandlerSilencesTheEnd) {
  std::optional<Promise<int>> promise;
  const auto publisher = Publisher<int>::promise([&](const Promise<int>& given) { promise = given; });
  int values = 0;
  bool ended = false;
  AnyCancellable token;
  token = publisher.sink(
      [&](int) {
        ++values;
        token = AnyCancellable();
      },
      [&](const Completion&) { ended = true; });
  promise->succeed(1);
  EXPECT_EQ(values, 1);
  EXPECT_FALSE(ended);
}

TEST(PublisherTest, FlatMapTakesTheValueOfAProducerThatNobodyElseHolds) {
  std::vector<int> copies;
  const auto token =
      Publisher<int>::just(1)
          .flatMap([](int) { return Publisher<Heavy>::just(Heavy()).map([](Heavy value) { return value; }); })
          .sink([&](const Heavy& value) { copies.push_back(value.copies); });
  EXPECT_THAT(copies, ElementsAre(0));
}

TEST(PublisherTest, FlatMapTakesTheClosuresOfAProducerThatNobodyElseHolds) {
  std::vector<int> copies;
  const auto token = Publisher<int>::just(1)
                         .flatMap([](int) {
                           return Publisher<int>::just(1)
                               .tryMap([heavy = Heavy()](int) { return Result<int>(heavy.copies); })
                               .mapError([heavy = Heavy()](const Error& error) { return error; })
                               .first([heavy = Heavy()](int value) { return value == heavy.copies; });
                         })
                         .sink([&](int value) { copies.push_back(value); });
  EXPECT_THAT(copies, ElementsAre(0));
}

TEST(PublisherTest, EachSubscriptionHasItsOwnCopiesOfTheClosures) {
  const auto numbered = Publisher<int>::sequence({7, 7}).map([number = 0](int) mutable { return ++number; });
  EXPECT_THAT(eventsOf(numbered), ElementsAre("1", "2", "end"));
  EXPECT_THAT(eventsOf(numbered), ElementsAre("1", "2", "end"));
}

TEST(PublisherTest, FlatMapLeavesAProducerThatIsHeldAsItIs) {
  const std::string text = "long enough to stand outside of its object";
  const auto held = Publisher<std::string>::just(text);
  const auto mapped = held.map([suffix = text](const std::string& value) { return value + suffix; });
  const auto twice = Publisher<int>::sequence({1, 2});
  EXPECT_THAT(eventsOf(twice.flatMap([held](int) { return held; })),
              ElementsAre("\"" + text + "\"", "\"" + text + "\"", "end"));
  EXPECT_THAT(eventsOf(twice.flatMap([mapped](int) { return mapped; })),
              ElementsAre("\"" + text + text + "\"", "\"" + text + text + "\"", "end"));
  EXPECT_THAT(
      eventsOf(twice.flatMap([held](int) { return held.map([](std::string value) { return value; }); })),
      ElementsAre("\"" + text + "\"", "\"" + text + "\"", "end"));
}

}  // namespace
}  // namespace vellora
