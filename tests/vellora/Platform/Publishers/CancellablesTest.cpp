#include "vellora/Platform/Publishers/Cancellables.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>

#include "vellora/Platform/Publishers/Subject.h"

namespace vellora {
namespace {

TEST(CancellablesTest, KeepsSubscriptionsAliveForTheOwnersLife) {
  const Subject<int> subject;
  int values = 0;
  std::optional<Cancellables> owner(std::in_place);
  owner->insert(subject.publisher().sink([&](int value) { values += value; }));
  subject.send(1);
  EXPECT_EQ(values, 1);
  owner.reset();
  subject.send(1);
  EXPECT_EQ(values, 1);
}

TEST(CancellablesTest, NeverRemovesATokenByItself) {
  Cancellables owner;
  for (int i = 0; i < 3; ++i) owner.insert(Publisher<int>::just(i).sink([](int) {}));
  EXPECT_EQ(owner.size(), 3U);
}

TEST(AnyCancellableTest, MovingATokenKeepsItsSubscription) {
  const Subject<int> subject;
  int values = 0;
  AnyCancellable token = subject.publisher().sink([&](int value) { values += value; });
  AnyCancellable moved = std::move(token);
  subject.send(1);
  EXPECT_EQ(values, 1);
  moved = AnyCancellable();
  subject.send(1);
  EXPECT_EQ(values, 1);
}

TEST(AnyCancellableTest, MovingATokenIntoItselfKeepsItsSubscription) {
  const Subject<int> subject;
  int values = 0;
  AnyCancellable token = subject.publisher().sink([&](int value) { values += value; });
  AnyCancellable& itself = token;
  token = std::move(itself);
  subject.send(1);
  EXPECT_EQ(values, 1);
}

TEST(AnyCancellableTest, ADetachedSubscriptionGoesOnUntilWhatItWaitsForIsGone) {
  const auto held = std::make_shared<int>(0);
  int values = 0;
  {
    const Subject<int> subject;
    subject.publisher().sink([&, held](int value) { values += value; }).detach();
    subject.send(1);
    EXPECT_EQ(values, 1);
    EXPECT_EQ(held.use_count(), 2);
  }
  EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
}  // namespace vellora
