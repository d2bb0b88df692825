#include "testkit/ManualTimer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <vector>

namespace vellora::testkit {
namespace {

using namespace std::chrono_literals;
using Moments = std::vector<TimedQueue::Delay>;

class ManualTimerTest : public testing::Test {
 protected:
  void noteAfter(TimedQueue::Delay delay) {
    static_cast<void>(timer.after(delay, [this] { moments.push_back(timer.time()); }));
  }

  ManualTimer timer;
  Moments moments;
};

TEST_F(ManualTimerTest, RunsWhatIsDueAtItsOwnMomentAndNothingElse) {
  noteAfter(2s);
  static_cast<void>(timer.after(1s, [this] { noteAfter(500ms); }));
  noteAfter(9s);
  timer.advance(3s);
  EXPECT_EQ(moments, (Moments{1500ms, 2s}));
  EXPECT_EQ(timer.pending(), 1U);
  EXPECT_EQ(timer.time(), 3s);
}

TEST_F(ManualTimerTest, GoesToTheNextMomentAndNoFurther) {
  noteAfter(2s);
  noteAfter(1s);
  EXPECT_TRUE(timer.advanceToNext());
  EXPECT_EQ(moments, Moments{1s});
  EXPECT_EQ(timer.time(), 1s);
  EXPECT_TRUE(timer.advanceToNext());
  EXPECT_FALSE(timer.advanceToNext());
  EXPECT_EQ(moments, (Moments{1s, 2s}));
}

TEST_F(ManualTimerTest, OfEqualMomentsTheWorkThatCameFirstRunsFirst) {
  std::vector<int> order;
  static_cast<void>(timer.after(1s, [&] { order.push_back(1); }));
  static_cast<void>(timer.after(1s, [&] { order.push_back(2); }));
  timer.advance(1s);
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST_F(ManualTimerTest, LetsGoOfCancelledWorkAtOnce) {
  const auto held = std::make_shared<int>();
  const auto alarm = timer.after(1s, [held] { FAIL() << "cancelled"; });
  timer.cancel(alarm);
  EXPECT_EQ(held.use_count(), 1);
  timer.advance(1h);
}

TEST_F(ManualTimerTest, TimeNeverGoesBackWhenWorkLetsItPass) {
  static_cast<void>(timer.after(1s, [this] { timer.advance(10s); }));
  timer.advance(2s);
  EXPECT_EQ(timer.time(), 11s);
}

}  // namespace
}  // namespace vellora::testkit
