#include "vellora/Platform/Queues/Sleep.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <limits>
#include <mutex>
#include <optional>

namespace vellora {
namespace {

using namespace std::chrono_literals;

/// For how many milliseconds at most a poll sleeps that has until then.
int longestPoll(Sleep::Moment until) {
  std::optional<int> longest;
  Sleep::in([&](int milliseconds) { longest = milliseconds; }, until);
  return longest.value();
}

TEST(SleepTest, APollHasNoTimeForAMomentThatIsOver) {
  EXPECT_EQ(longestPoll(Sleep::now()), 0);
  EXPECT_EQ(longestPoll(Sleep::Moment::min()), 0);
}

TEST(SleepTest, APollHasTheTimeUpToItsMoment) {
  const int longest = longestPoll(Sleep::now() + 1h);
  EXPECT_GT(longest, 0);
  EXPECT_LE(longest, 3'600'000);
}

TEST(SleepTest, APollThatNothingIsDueForHasAllTheTimeThatThereIs) {
  EXPECT_EQ(longestPoll(Sleep::never), std::numeric_limits<int>::max());
}

TEST(SleepTest, OnAConditionItEndsWithTheMoment) {
  std::mutex mutex;
  std::condition_variable condition;
  std::unique_lock lock(mutex);
  const auto until = Sleep::now() + 1ms;
  while (Sleep::now() < until) Sleep::on(condition, lock, until);
  EXPECT_TRUE(lock.owns_lock());
}

}  // namespace
}  // namespace vellora
