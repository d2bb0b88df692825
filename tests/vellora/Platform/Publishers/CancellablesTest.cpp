#include "vellora/Platform/Publishers/Cancellables.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>

#include "tests/support/TestError.h"
#include "vellora/Platform/Publishers/Promise.h"
#include "vellora/Platform/Publishers/Publisher.h"
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

TEST(CancellablesTest, HoldsNothingOfASubscriptionThatHasEnded) {
  Cancellables owner;
  owner.insert(Publisher<int>::just(1).sink([](int) {}));
  EXPECT_EQ(owner.size(), 0U) << "ended before it came";

  std::optional<Promise<int>> promise;
  const auto result = Publisher<int>::promise([&](const Promise<int>& given) { promise = given; });
  owner.insert(result.sink([](int) {}));
  result.sink(
      owner, [](int) {}, [](const Completion&) {});
  EXPECT_EQ(owner.size(), 2U);
  promise->fail(tests::TestError{"x"});
  EXPECT_EQ(owner.size(), 0U);

  const Subject<int> subject;
  owner.insert(subject.publisher().first([](int value) { return value == 2; }).sink([](int) {}));
  subject.send(1);
  EXPECT_EQ(owner.size(), 1U);
  subject.send(2);
  EXPECT_EQ(owner.size(), 0U);
}

TEST(CancellablesTest, ATokenWithoutASubscriptionAddsNothing) {
  Cancellables owner;
  owner.insert(AnyCancellable());
  EXPECT_EQ(owner.size(), 0U);
}

TEST(CancellablesTest, HoldsNothingOfASubscriptionWhosePromiseWasDropped) {
  Cancellables owner;
  std::optional<Promise<int>> promise;
  owner.insert(Publisher<int>::promise([&](const Promise<int>& given) { promise = given; }).sink([](int) {}));
  EXPECT_EQ(owner.size(), 1U);
  promise.reset();
  EXPECT_EQ(owner.size(), 0U);
}

TEST(CancellablesTest, CancelsASubscriptionThatBelongsToTheOwnerFromItsStartOn) {
  const Subject<int> subject;
  const auto held = std::make_shared<int>(0);
  int values = 0;
  int ends = 0;
  {
    const Cancellables owner;
    subject.publisher().sink(
        owner, [&, held](int value) { values += value; }, [&](const Completion&) { ++ends; });
    subject.send(1);
  }
  subject.send(1);
  EXPECT_EQ(values, 1);
  EXPECT_EQ(ends, 0);
  EXPECT_EQ(held.use_count(), 1);
}

TEST(CancellablesTest, ClosingCancelsWhatIsUnderWayAndWhatComesLater) {
  const Subject<int> subject;
  Cancellables owner;
  int values = 0;
  const auto count = [&](int value) { values += value; };
  owner.insert(subject.publisher().sink(count));
  owner.close();
  owner.insert(subject.publisher().sink(count));
  subject.send(1);
  EXPECT_EQ(values, 0);
  EXPECT_EQ(owner.size(), 0U);
}

TEST(CancellablesTest, AClosedOwnerStartsNothing) {
  const Cancellables owner;
  owner.close();
  int starts = 0;
  const auto counting = Publisher<int>::deferred([&] {
    ++starts;
    return Publisher<int>::just(1);
  });
  counting.sink(
      owner, [](int) { ADD_FAILURE(); }, [](const Completion&) { ADD_FAILURE(); });
  EXPECT_EQ(starts, 0);
}

TEST(CancellablesTest, AHandlerMayCloseTheOwner) {
  Cancellables owner;
  int values = 0;
  Publisher<int>::sequence({1, 2, 3}).sink(
      owner,
      [&](int) {
        ++values;
        owner.close();
      },
      [](const Completion&) { ADD_FAILURE(); });
  EXPECT_EQ(values, 1);
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
