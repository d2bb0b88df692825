#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "testkit/ManualQueue.h"
#include "tests/support/TestError.h"
#include "vellora/Platform/Publishers/Publisher.h"

// What holds for every step alike: one completion, nothing after a cancellation, and nothing kept after any
// of the three endings.

namespace vellora {
namespace {

using testkit::ManualQueue;
using tests::TestError;

using Held = std::shared_ptr<int>;

/// One kind of pipeline: a step behind a pending producer. Its closures capture `held`.
struct Step {
  std::string name;
  std::function<Publisher<int>(const Publisher<int>& upstream, const Held& held,
                               const std::shared_ptr<ManualQueue>&)>
      build;
};

std::vector<Step> steps() {
  const auto passOn = [](const Held& held) { return [held](int value) { return value + *held; }; };
  return {
      {"Plain", [](const Publisher<int>& up, const Held&, const auto&) { return up; }},
      {"Map",
       [passOn](const Publisher<int>& up, const Held& held, const auto&) { return up.map(passOn(held)); }},
      {"TryMap", [](const Publisher<int>& up, const Held& held,
                    const auto&) { return up.tryMap([held](int value) { return Result<int>(value); }); }},
      {"First", [](const Publisher<int>& up, const Held& held,
                   const auto&) { return up.first([held](int) { return true; }); }},
      {"MapError", [](const Publisher<int>& up, const Held& held,
                      const auto&) { return up.mapError([held](const Error& error) { return error; }); }},
      {"FlatMapOuter",
       [](const Publisher<int>& up, const Held& held, const auto&) {
         return up.flatMap([held](int value) { return Publisher<int>::just(value); });
       }},
      {"FlatMapInner",
       [](const Publisher<int>& up, const Held& held, const auto&) {
         return Publisher<int>::just(0).flatMap([held, up](int) { return up; });
       }},
      {"Collect",
       [](const Publisher<int>& up, const Held& held, const auto&) {
         return up.collect().map([held](const std::vector<int>& values) { return values.at(0); });
       }},
      {"CombineLatestFirst",
       [passOn](const Publisher<int>& up, const Held& held, const auto&) {
         return up.map(passOn(held)).combineLatest(Publisher<int>::just(1)).map([](const auto& pair) {
           return pair.first;
         });
       }},
      {"CombineLatestSecond",
       [passOn](const Publisher<int>& up, const Held& held, const auto&) {
         return Publisher<int>::just(1).combineLatest(up.map(passOn(held))).map([](const auto& pair) {
           return pair.second;
         });
       }},
      {"CombineLatestBoth",
       [passOn](const Publisher<int>& up, const Held& held, const auto&) {
         return up.map(passOn(held)).combineLatest(up.map(passOn(held))).map([](const auto& pair) {
           return pair.first + pair.second;
         });
       }},
      {"Receive",
       [passOn](const Publisher<int>& up, const Held& held, const std::shared_ptr<ManualQueue>& queue) {
         return up.map(passOn(held)).receive(queue);
       }},
      {"Subscribe",
       [passOn](const Publisher<int>& up, const Held& held, const std::shared_ptr<ManualQueue>& queue) {
         return up.map(passOn(held)).subscribe(queue);
       }},
      {"Deferred",
       [passOn](const Publisher<int>& up, const Held& held, const auto&) {
         return Publisher<int>::deferred([up, held, passOn] { return up.map(passOn(held)); });
       }},
  };
}

class PublisherContractTest : public testing::TestWithParam<Step> {
 protected:
  /// Starts the pipeline; afterwards the recipe is gone, and only what runs and the token hold anything.
  void start() {
    const auto upstream = Publisher<int>::promise([this](const Promise<int>& given) { promise = given; });
    token = GetParam()
                .build(upstream, held, queue)
                .sink(
                    [this, kept = held](int) {
                      ++values;
                      if (onValue) onValue();
                    },
                    [this, kept = held](const Completion& completion) { (completion ? failures : ends)++; });
    queue->runAll();
  }

  /// True when nothing but the test itself holds what the pipeline's closures captured.
  [[nodiscard]] bool everythingIsReleased() const { return held.use_count() == 1; }

  const Held held = std::make_shared<int>(0);
  const std::shared_ptr<ManualQueue> queue = std::make_shared<ManualQueue>();
  std::optional<Promise<int>> promise;
  std::function<void()> onValue;
  int values = 0;
  int ends = 0;
  int failures = 0;
  AnyCancellable token;
};

TEST_P(PublisherContractTest, AValueIsFollowedByOneEndAndEverythingIsReleasedWithTheTokenKept) {
  start();
  EXPECT_EQ(values, 0);
  promise->succeed(1);
  promise->succeed(2);
  queue->runAll();
  EXPECT_EQ(values, 1);
  EXPECT_EQ(ends, 1);
  EXPECT_EQ(failures, 0);
  EXPECT_TRUE(everythingIsReleased());
}

TEST_P(PublisherContractTest, AFailureIsTheOnlyEventAndEverythingIsReleasedWithTheTokenKept) {
  start();
  promise->fail(TestError{"broken"});
  promise->succeed(2);
  queue->runAll();
  EXPECT_EQ(values, 0);
  EXPECT_EQ(ends, 0);
  EXPECT_EQ(failures, 1);
  EXPECT_TRUE(everythingIsReleased());
}

TEST_P(PublisherContractTest, CancellingSilencesAndReleasesThoughTheProducerNeverEnds) {
  start();
  EXPECT_FALSE(everythingIsReleased());
  token.cancel();
  queue->runAll();
  EXPECT_TRUE(everythingIsReleased());
  promise->succeed(1);
  queue->runAll();
  EXPECT_EQ(values + ends + failures, 0);
}

TEST_P(PublisherContractTest, DroppingTheTokenInsideTheValueHandlerSilencesTheEndAndReleases) {
  onValue = [this] { token = AnyCancellable(); };
  start();
  promise->succeed(1);
  queue->runAll();
  EXPECT_EQ(values, 1);
  EXPECT_EQ(ends + failures, 0);
  EXPECT_TRUE(everythingIsReleased());
}

TEST_P(PublisherContractTest, APromiseThatIsDroppedUnresolvedReleasesEverything) {
  start();
  promise.reset();
  EXPECT_EQ(values + ends + failures, 0);
  EXPECT_TRUE(everythingIsReleased());
}

TEST_P(PublisherContractTest, ASubscriberThatComesAfterTheResultIsServedToo) {
  const auto publisher = GetParam().build(
      Publisher<int>::promise([](const Promise<int>& given) { given.succeed(1); }), held, queue);
  for (int round = 0; round < 2; ++round) {
    const auto kept = publisher.sink([this](int) { ++values; }, [this](const Completion&) { ++ends; });
    queue->runAll();
  }
  EXPECT_EQ(values, 2);
  EXPECT_EQ(ends, 2);
}

INSTANTIATE_TEST_SUITE_P(EveryStep, PublisherContractTest, testing::ValuesIn(steps()),
                         [](const auto& step) { return step.param.name; });

}  // namespace
}  // namespace vellora
