#include "vellora/Platform/Publishers/detail/Counted.h"

#include <gtest/gtest.h>

#include <utility>

namespace vellora::detail {
namespace {

class Base : public Counted {};

class Noted final : public Base {
 public:
  explicit Noted(bool& isGone) : isGone_(isGone) {}
  ~Noted() override { isGone_ = true; }

 private:
  bool& isGone_;
};

TEST(CountedTest, GoesWithItsLastHandle) {
  bool isGone = false;
  Handle<Noted> one(new Noted(isGone));
  {
    const Handle<Noted> other = one;
    EXPECT_EQ(one.get(), other.get());
    one = {};
    EXPECT_FALSE(isGone);
  }
  EXPECT_TRUE(isGone);
}

TEST(CountedTest, KnowsWhetherThereIsOneHandleOnly) {
  bool isGone = false;
  const Handle<Noted> one(new Noted(isGone));
  EXPECT_TRUE(one->hasOneHandle());
  {
    const Handle<Noted> other = one;
    EXPECT_FALSE(one->hasOneHandle());
  }
  EXPECT_TRUE(one->hasOneHandle());
}

TEST(CountedTest, AHandleThatWasMovedHoldsNothing) {
  bool isGone = false;
  Handle<Noted> one(new Noted(isGone));
  const Handle<Noted> other = std::move(one);
  EXPECT_FALSE(one);  // NOLINT(bugprone-use-after-move): that is what is tested
  EXPECT_TRUE(other->hasOneHandle());
}

TEST(CountedTest, AHandleToABaseCountsForTheSameObject) {
  bool isGone = false;
  Handle<Noted> one(new Noted(isGone));
  Handle<Base> base = one;
  EXPECT_FALSE(one->hasOneHandle());
  one = {};
  EXPECT_FALSE(isGone);
  base = {};
  EXPECT_TRUE(isGone);
}

TEST(CountedTest, AHandleMayBeAssignedToItself) {
  bool isGone = false;
  Handle<Noted> one(new Noted(isGone));
  const Handle<Noted>& same = one;
  one = same;
  EXPECT_TRUE(one->hasOneHandle());
  EXPECT_FALSE(isGone);
}

}  // namespace
}  // namespace vellora::detail
