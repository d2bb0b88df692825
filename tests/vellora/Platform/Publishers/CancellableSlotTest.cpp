#include "vellora/Platform/Publishers/CancellableSlot.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/Subject.h"

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class CancellableSlotTest : public testing::Test {
 protected:
  /// The subject's values arrive in `events` behind `name`.
  AnyCancellable subscribe(const std::string& name) {
    return subject.publisher().sink(
        [this, name](int value) { events.push_back(name + std::to_string(value)); });
  }

  const Subject<int> subject;
  std::vector<std::string> events;
  std::optional<CancellableSlot> slot = std::optional<CancellableSlot>(std::in_place);
};

TEST_F(CancellableSlotTest, KeepsASubscriptionForItsOwnersLife) {
  slot->replace([&] { return subscribe("a"); });
  subject.send(1);
  slot.reset();
  subject.send(2);
  EXPECT_THAT(events, ElementsAre("a1"));
}

TEST_F(CancellableSlotTest, TheNextSubscriptionCancelsTheOneBefore) {
  slot->replace([&] { return subscribe("a"); });
  slot->replace([&] { return subscribe("b"); });
  subject.send(1);
  EXPECT_THAT(events, ElementsAre("b1"));
}

TEST_F(CancellableSlotTest, TheOneBeforeIsCancelledOnlyAfterTheNextHasBegun) {
  slot->replace([&] { return subscribe("a"); });
  slot->replace([&] {
    auto token = subscribe("b");
    subject.send(1);
    return token;
  });
  EXPECT_THAT(events, ElementsAre("a1", "b1"));
}

TEST_F(CancellableSlotTest, ASubscriptionThatEndsWhileItBeginsCancelsTheOneBefore) {
  slot->replace([&] { return subscribe("a"); });
  slot->replace([&] { return Publisher<int>::just(7).sink([](int) {}); });
  subject.send(1);
  EXPECT_THAT(events, IsEmpty());
}

TEST_F(CancellableSlotTest, AFinishedSubscriptionDoesNotCancelTheOneThatItsHandlersBegan) {
  slot->replace([&] {
    return Publisher<int>::just(7).sink(
        [](int) {}, [&](const auto&) { slot->replace([&] { return subscribe("inner"); }); });
  });
  subject.send(1);
  EXPECT_THAT(events, ElementsAre("inner1"));
}

TEST_F(CancellableSlotTest, ASubscriptionThatIsOvertakenWhileItBeginsIsCancelled) {
  slot->replace([&] {
    auto outer = subscribe("outer");
    slot->replace([&] { return subscribe("inner"); });
    return outer;
  });
  subject.send(1);
  EXPECT_THAT(events, ElementsAre("inner1"));
}

TEST_F(CancellableSlotTest, AnEmptyTokenOnlyCancelsTheOneBefore) {
  slot->replace([&] { return subscribe("a"); });
  slot->replace([] { return AnyCancellable(); });
  subject.send(1);
  EXPECT_THAT(events, IsEmpty());
}

TEST_F(CancellableSlotTest, WhatACancelledSubscriptionHeldMayDestroyTheSlot) {
  const Subject<int> other;
  auto owner = std::shared_ptr<int>(new int(1), [&](const int* value) {
    slot.reset();
    delete value;
  });
  slot->replace([&, held = std::move(owner)]() mutable {
    return other.publisher().sink([held = std::move(held)](int) {});
  });
  ASSERT_TRUE(slot.has_value());
  slot->replace([&] { return subscribe("next"); });
  EXPECT_FALSE(slot.has_value());
  subject.send(1);
  EXPECT_THAT(events, IsEmpty());
}

TEST_F(CancellableSlotTest, OfSubscriptionsFromManyThreadsOneIsLeft) {
  constexpr int threadCount = 8;
  constexpr int rounds = 50;
  std::atomic<int> received = 0;
  {
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) {
      threads.emplace_back([&] {
        for (int round = 0; round < rounds; ++round) {
          slot->replace([&] { return subject.publisher().sink([&](int) { ++received; }); });
        }
      });
    }
    for (auto& thread : threads) thread.join();
  }
  subject.send(1);
  EXPECT_EQ(received, 1);
}

}  // namespace
}  // namespace vellora
