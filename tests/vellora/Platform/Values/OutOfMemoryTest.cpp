#include "vellora/Platform/Values/OutOfMemory.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "testkit/ManualQueue.h"
#include "vellora/Platform/Publishers/Published.h"
#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Queues/DispatchGroup.h"

namespace vellora {
namespace {

int throwing(int) {
  throw std::bad_alloc();
}

/// Has no memory for any piece of work.
class FullQueue final : public DispatchQueue {
 public:
  void async(Work) override { throw std::bad_alloc(); }
};

/// A value of which one copy, counted from 1, gets no memory.
class Scarce {
 public:
  explicit Scarce(int failing) : untilFailure_(std::make_shared<int>(failing)) {}
  Scarce(const Scarce& other) : untilFailure_(other.untilFailure_) {
    if (--*untilFailure_ == 0) throw std::bad_alloc();
  }
  Scarce(Scarce&&) noexcept = default;

 private:
  std::shared_ptr<int> untilFailure_;
};

bool isOutOfMemory(const Completion& completion) {
  return completion && completion->as<OutOfMemory>() != nullptr;
}

TEST(OutOfMemoryTest, HasThePlatformsDefaultText) {
  EXPECT_EQ(outOfMemory().localizedDescription(),
            "The operation could not be completed. (OutOfMemory.outOfMemory)");
}

TEST(OutOfMemoryTest, AStepWithoutMemoryFailsItsPipelineAndNotTheCallOfThePromise) {
  std::optional<Promise<int>> promise;
  const auto publisher = Publisher<int>::promise([&](const Promise<int>& given) { promise = given; });
  Completion ended;
  int values = 0;
  const auto token =
      publisher.map(throwing).sink([&](int) { ++values; }, [&](Completion end) { ended = end; });
  EXPECT_NO_THROW(promise->succeed(1));
  EXPECT_TRUE(isOutOfMemory(ended));
  EXPECT_EQ(values, 0);
}

TEST(OutOfMemoryTest, AWaitingSubscriberWithoutMemoryForItsCopyDoesNotHideAResultFromOthers) {
  const Promise<Scarce> promise;
  std::vector<int> values(3);
  std::vector<Completion> failures(3);
  std::vector<AnyCancellable> tokens;
  for (std::size_t i = 0; i < 3; ++i) {
    tokens.push_back(Publisher<Scarce>::ofPromise(promise).sink(
        [&, i](const Scarce&) { ++values[i]; }, [&, i](const Completion& end) { failures[i] = end; }));
  }
  EXPECT_NO_THROW(promise.succeed(Scarce(2)));
  EXPECT_EQ(values, (std::vector<int>{1, 0, 1}));
  EXPECT_FALSE(failures[0]);
  EXPECT_TRUE(isOutOfMemory(failures[1]));
  EXPECT_FALSE(failures[2]);
}

TEST(OutOfMemoryTest, ALateSubscriberWithoutMemoryForItsCopyIsToldAtOnce) {
  const Promise<Scarce> promise;
  promise.succeed(Scarce(1));
  int deliveries = 0;
  const auto subscribe = [&] {
    return Publisher<Scarce>::ofPromise(promise).sink([&](const Scarce&) { ++deliveries; },
                                                      [&](const Completion&) { ++deliveries; });
  };
  EXPECT_THROW(static_cast<void>(subscribe()), std::bad_alloc);
  EXPECT_EQ(deliveries, 0);
  const auto token = subscribe();
  EXPECT_EQ(deliveries, 2) << "the result is still there";
}

TEST(OutOfMemoryTest, OneOfSeveralProducersWithoutMemoryFailsAllOfThem) {
  std::vector<Promise<int>> promises;
  const auto inner = [&promises](int) {
    return Publisher<int>::promise([&](const Promise<int>& given) { promises.push_back(given); });
  };
  Completion ended;
  const auto token = Publisher<int>::sequence({1, 2})
                         .flatMap(inner)
                         .map([](int value) { return value == 1 ? throwing(value) : value; })
                         .collect()
                         .sink([](const auto&) {}, [&](Completion end) { ended = end; });
  promises.at(0).succeed(1);
  EXPECT_TRUE(isOutOfMemory(ended));
  EXPECT_NO_THROW(promises.at(1).succeed(2));
}

TEST(OutOfMemoryTest, ASubscriptionThatGetsNoMemoryThrowsAndDeliversNothing) {
  const auto queue = std::make_shared<testkit::ManualQueue>();
  const auto both = Publisher<int>::sequence({1}).receive(queue).combineLatest(
      Publisher<int>::just(2).receive(std::make_shared<FullQueue>()));
  int deliveries = 0;
  const auto subscribe = [&] {
    return both.sink([&](const auto&) { ++deliveries; }, [&](const auto&) { ++deliveries; });
  };
  EXPECT_THROW(static_cast<void>(subscribe()), std::bad_alloc);
  queue->runAll();
  EXPECT_EQ(deliveries, 0);
}

TEST(OutOfMemoryTest, AnObserverWithoutMemoryDoesNotHideAChangeFromOthers) {
  const Subject<WillChange> willChange;
  const Published<int> property(0, willChange);
  std::vector<int> seen;
  const auto poor = property.stream().map(throwing).sink([](int) {});
  const auto other = property.stream().sink([&](int value) { seen.push_back(value); });
  EXPECT_NO_THROW(property.set(1));
  EXPECT_EQ(seen, (std::vector<int>{0, 1}));
}

TEST(OutOfMemoryTest, AGroupNotifiesOnTheLeavingThreadWhenTheQueueHasNoMemory) {
  const DispatchGroup group;
  group.enter();
  int notified = 0;
  group.notify(std::make_shared<FullQueue>(), [&] { ++notified; });
  EXPECT_NO_THROW(group.leave());
  EXPECT_EQ(notified, 1);
}

TEST(OutOfMemoryTest, ATaskThatCouldNotBeSubmittedDoesNotHoldUpItsGroup) {
  const DispatchGroup group;
  EXPECT_THROW(group.async(std::make_shared<FullQueue>(), [] {}), std::bad_alloc);
  const auto queue = std::make_shared<testkit::ManualQueue>();
  group.notify(queue, [] {});
  EXPECT_EQ(queue->runAll(), 1U);
}

}  // namespace
}  // namespace vellora
