#include "vellora/Platform/Publishers/detail/Step.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <utility>

#include "vellora/Platform/Publishers/Publisher.h"

namespace vellora::detail {
namespace {

/// Passes values on, and counts the copies that were made of it.
class Copied {
 public:
  explicit Copied(std::shared_ptr<int> copies) : copies_(std::move(copies)) {}
  Copied(const Copied& other) : copies_(other.copies_) { ++*copies_; }
  Copied(Copied&&) noexcept = default;
  int operator()(int value) const { return value; }

 private:
  std::shared_ptr<int> copies_;
};

/// Passes values on, and gets no memory for a copy.
class Uncopied {
 public:
  explicit Uncopied(std::shared_ptr<int> held) : held_(std::move(held)) {}
  Uncopied(const Uncopied& other) : held_(other.held_) { throw std::bad_alloc(); }
  Uncopied(Uncopied&&) noexcept = default;
  int operator()(int value) const { return value; }

 private:
  std::shared_ptr<int> held_;
};

TEST(StepTest, EachSubscriptionHasItsOwnCopyOfTheClosure) {
  const auto copies = std::make_shared<int>();
  const auto publisher = Publisher<int>::just(1).map(Copied(copies));
  EXPECT_EQ(*copies, 0);
  publisher.sink([](int) {}).detach();
  publisher.sink([](int) {}).detach();
  EXPECT_EQ(*copies, 2);
}

TEST(StepTest, TheLastUseOfASourceTakesItsClosureAway) {
  const auto copies = std::make_shared<int>();
  int got = 0;
  Publisher<int>::just(1)
      .flatMap([copies](int value) { return Publisher<int>::just(value).map(Copied(copies)); })
      .sink([&](int value) { got = value; })
      .detach();
  EXPECT_EQ(got, 1);
  EXPECT_EQ(*copies, 0);
}

TEST(StepTest, AClosureThatIsNotCopiedForLackOfMemoryLeavesNothingBehind) {
  const auto held = std::make_shared<int>();
  {
    const auto publisher = Publisher<int>::just(1).map(Uncopied(held));
    EXPECT_THROW(publisher.sink([](int) {}).detach(), std::bad_alloc);
    EXPECT_EQ(held.use_count(), 2);  // ours and the recipe's
  }
  EXPECT_EQ(held.use_count(), 1);
}

TEST(StepTest, AClosureGoesWithItsSubscription) {
  const auto held = std::make_shared<int>();
  Publisher<int>::just(1).sink([held](int) {}).detach();
  EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
}  // namespace vellora::detail
