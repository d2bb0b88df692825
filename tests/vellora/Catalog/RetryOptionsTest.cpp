#include "vellora/Catalog/RetryOptions.h"

#include <gtest/gtest.h>

#include <chrono>
#include <set>

namespace vellora {
namespace {

using namespace std::chrono_literals;

TEST(RetryOptionsTest, PausesDoubleUpToTheLongest) {
  const RetryOptions options{.jitter = [] { return 1.0; }};
  EXPECT_EQ(options.pauseAfter(1), 500ms);
  EXPECT_EQ(options.pauseAfter(2), 1s);
  EXPECT_EQ(options.pauseAfter(4), 4s);
  EXPECT_EQ(options.pauseAfter(5), 8s);
  EXPECT_EQ(options.pauseAfter(1'000'000), 8s);
}

TEST(RetryOptionsTest, RandomPausesAreBetweenAHalfAndTheWhole) {
  const RetryOptions options;
  std::set<std::chrono::duration<double>> pauses;
  for (int i = 0; i < 100; ++i) pauses.insert(options.pauseAfter(1));
  EXPECT_GE(*pauses.begin(), 250ms);
  EXPECT_LE(*pauses.rbegin(), 500ms);
  EXPECT_GT(pauses.size(), 1U);
}

TEST(RetryOptionsTest, AJitterOutOfItsBoundsIsTakenAsTheNearest) {
  EXPECT_EQ((RetryOptions{.jitter = [] { return -5.0; }}.pauseAfter(1)), 250ms);
  EXPECT_EQ((RetryOptions{.jitter = [] { return 5.0; }}.pauseAfter(1)), 500ms);
}

}  // namespace
}  // namespace vellora
