#include "vellora/Platform/Publishers/Published.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(PublishedTest, ANewSubscriberGetsTheCurrentValueAtOnce) {
  const Published<int> property(1, {});
  property.set(2);
  std::vector<int> values;
  const auto token = property.stream().sink([&](int value) { values.push_back(value); });
  EXPECT_THAT(values, ElementsAre(2));
  EXPECT_EQ(property.value(), 2);
}

TEST(PublishedTest, EqualValuesAreDeliveredAgain) {
  const Published<int> property(1, {});
  std::vector<int> values;
  const auto token = property.stream().sink([&](int value) { values.push_back(value); });
  property.set(1);
  property.set(1);
  EXPECT_THAT(values, ElementsAre(1, 1, 1));
}

TEST(PublishedTest, ObserversOfTheObjectAreToldBeforeTheChange) {
  const Subject<WillChange> objectWillChange;
  const Published<int> property(1, objectWillChange);
  std::vector<int> before;
  const auto token =
      objectWillChange.publisher().sink([&](WillChange) { before.push_back(property.value()); });
  EXPECT_THAT(before, IsEmpty());
  property.set(2);
  property.set(3);
  EXPECT_THAT(before, ElementsAre(1, 2));
}

TEST(PublishedTest, TheValueIsStoredBeforeItIsDelivered) {
  const Published<int> property(1, {});
  std::vector<int> stored;
  const auto token = property.stream().sink([&](int) { stored.push_back(property.value()); });
  property.set(2);
  EXPECT_THAT(stored, ElementsAre(1, 2));
}

TEST(PublishedTest, ASubscriberFromInsideADeliveryGetsTheNewValueAndMissesNone) {
  const Published<int> property(1, {});
  std::vector<int> late;
  AnyCancellable lateToken;
  const auto token = property.stream().sink([&](int value) {
    if (value == 2) lateToken = property.stream().sink([&](int seen) { late.push_back(seen); });
  });
  property.set(2);
  property.set(3);
  EXPECT_THAT(late, ElementsAre(2, 3));
}

TEST(PublishedTest, AValueSetFromInsideADeliveryIsDeliveredAfterIt) {
  const Published<int> property(0, {});
  std::vector<std::string> events;
  const auto token = property.stream().sink([&](int value) {
    events.push_back("in " + std::to_string(value));
    if (value == 1) property.set(2);
    events.push_back("out " + std::to_string(value));
  });
  std::vector<int> other;
  const auto otherToken = property.stream().sink([&](int value) { other.push_back(value); });
  property.set(1);
  EXPECT_THAT(events, ElementsAre("in 0", "out 0", "in 1", "out 1", "in 2", "out 2"));
  EXPECT_THAT(other, ElementsAre(0, 1, 2));
}

TEST(PublishedTest, SubscribersAreServedInTheOrderOfTheirArrival) {
  const Published<int> property(0, {});
  std::vector<std::string> events;
  const auto first = property.stream().sink([&](int v) { events.push_back("first " + std::to_string(v)); });
  const auto second = property.stream().sink([&](int v) { events.push_back("second " + std::to_string(v)); });
  property.set(1);
  EXPECT_THAT(events, ElementsAre("first 0", "second 0", "first 1", "second 1"));
}

TEST(PublishedTest, ADroppedSubscriberIsForgottenAndCostsNothingMore) {
  struct Counting {
    explicit Counting(int& counter) : copies(&counter) {}
    Counting(const Counting& other) : copies(other.copies) { ++*copies; }
    Counting& operator=(const Counting&) = default;
    int* copies;
  };
  int copies = 0;
  const Subject<Counting> subject;
  {
    const auto token = subject.publisher().sink([](const Counting&) {});
  }
  subject.send(Counting(copies));
  EXPECT_EQ(copies, 0);
}

TEST(PublishedTest, ADroppedSubscriberGetsNothingMore) {
  const Published<int> property(0, {});
  std::vector<int> values;
  {
    const auto token = property.stream().sink([&](int value) { values.push_back(value); });
  }
  property.set(1);
  EXPECT_THAT(values, ElementsAre(0));
}

TEST(PublishedTest, DestroyingThePropertyLetsGoOfItsSubscribersWithoutACompletion) {
  const auto held = std::make_shared<int>(0);
  bool completed = false;
  AnyCancellable token;
  {
    const Published<int> property(0, {});
    token = property.stream().sink([held](int) {}, [&](const Completion&) { completed = true; });
    EXPECT_EQ(held.use_count(), 2);
  }
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_FALSE(completed);
}

TEST(PublishedTest, DestroyingThePropertyLetsGoOfItsSubscribersAlsoWhenAStreamIsKept) {
  const auto held = std::make_shared<int>(0);
  std::optional<Published<int>> property(std::in_place, 0, Subject<WillChange>());
  const Publisher<int> kept = property->stream();
  const Publisher<int> behind = kept.map([](int value) { return value + 1; });
  const AnyCancellable token = kept.sink([held](int) {});
  behind.sink([held](int) {}).detach();
  EXPECT_EQ(held.use_count(), 3);
  property.reset();
  EXPECT_EQ(held.use_count(), 1);
}

TEST(PublishedTest, AStreamThatOutlivesThePropertyYieldsNothingMore) {
  std::optional<Published<int>> property(std::in_place, 1, Subject<WillChange>());
  std::optional<Published<int>> copy = property;
  const Publisher<int> kept = property->stream();
  property.reset();
  std::vector<int> values;
  const auto token = kept.sink([&](int value) { values.push_back(value); });
  EXPECT_THAT(values, ElementsAre(1)) << "there is still a copy";
  copy.reset();
  const auto late = kept.sink([&](int value) { values.push_back(value); });
  EXPECT_THAT(values, ElementsAre(1));
}

TEST(PublishedTest, AnObserverOrASubscriberMayDestroyThePropertyThatIsBeingSet) {
  for (const bool before : {true, false}) {
    const Subject<WillChange> objectWillChange;
    std::optional<Published<int>> property(std::in_place, 1, objectWillChange);
    const auto observer = objectWillChange.publisher().sink([&](WillChange) {
      if (before) property.reset();
    });
    std::vector<int> values;
    const auto token = property->stream().sink([&](int value) {
      values.push_back(value);
      if (value == 2) property.reset();
    });
    property->set(2);
    EXPECT_FALSE(property);
    EXPECT_THAT(values, ElementsAre(1, 2));
  }
}

TEST(PublishedTest, AnObserverMayDestroyThePropertyThatHasTheLastCopyOfItsSubject) {
  std::optional<Subject<WillChange>> objectWillChange(std::in_place);
  std::optional<Published<int>> property(std::in_place, 1, *objectWillChange);
  int notices = 0;
  const auto first = objectWillChange->publisher().sink([&](WillChange) {
    ++notices;
    property.reset();
  });
  const auto second = objectWillChange->publisher().sink([&](WillChange) { ++notices; });
  objectWillChange.reset();
  property->set(2);
  EXPECT_FALSE(property);
  EXPECT_EQ(notices, 2) << "the value was on its way to both";
}

TEST(PublishedTest, AnObserverThatIsBusyWithANoticeGetsTheNextOneWhenItReturns) {
  const Subject<WillChange> objectWillChange;
  const Published<int> property(1, objectWillChange);
  std::vector<std::string> events;
  const auto busy = objectWillChange.publisher().sink([&](WillChange) {
    const auto value = std::to_string(property.value());
    events.push_back("busy in at " + value);
    if (value == "1") {
      property.set(3);
      EXPECT_EQ(property.value(), 3) << "nobody is waited for";
    }
    events.push_back("busy out at " + std::to_string(property.value()));
  });
  const auto idle = objectWillChange.publisher().sink(
      [&](WillChange) { events.push_back("idle at " + std::to_string(property.value())); });
  property.set(2);
  EXPECT_THAT(events, ElementsAre("busy in at 1", "idle at 1", "idle at 1", "busy out at 3", "busy in at 3",
                                  "busy out at 3"));
  EXPECT_EQ(property.value(), 2);
}

TEST(PublishedTest, EverySubscriberSeesTheValuesOfSeveralThreadsInOneOrderAndTheLastOne) {
  for (int round = 0; round < 200; ++round) {
    const Published<int> property(0, {});
    std::vector<int> one;
    std::vector<int> other;
    const auto first = property.stream().sink([&](int value) { one.push_back(value); });
    const auto second = property.stream().sink([&](int value) { other.push_back(value); });
    std::thread writer([&] {
      for (int value = 1; value <= 20; ++value) property.set(value);
    });
    for (int value = 101; value <= 120; ++value) property.set(value);
    writer.join();
    ASSERT_EQ(one.size(), 41U);
    ASSERT_EQ(one, other);
    ASSERT_EQ(one.back(), property.value());
  }
}

TEST(PublishedTest, ASubscriberThatArrivesDuringChangesOfAnotherThreadMissesNone) {
  for (int round = 0; round < 200; ++round) {
    const Published<int> property(0, {});
    std::thread writer([&] {
      for (int value = 1; value <= 50; ++value) property.set(value);
    });
    std::vector<int> values;
    const auto token = property.stream().sink([&](int value) { values.push_back(value); });
    writer.join();
    ASSERT_FALSE(values.empty());
    for (std::size_t i = 1; i < values.size(); ++i) ASSERT_EQ(values[i], values[i - 1] + 1);
    ASSERT_EQ(values.back(), 50);
  }
}

}  // namespace
}  // namespace vellora
