#include "apps/vellora/explore/Activity.h"

#include <gtest/gtest.h>

namespace vellora::explore {
namespace {

TEST(ActivityTest, NumbersItsEntriesAndGivesThoseBehindANumber) {
  Activity activity;
  activity.noteCache("key", "hit", 10);
  activity.notePrefetch("loaded");
  activity.noteAnswer("GET /a", 200, 5, 1.5);
  const auto all = activity.after(0);
  ASSERT_EQ(all.size(), 3U);
  EXPECT_EQ(all.front().number, 1);
  EXPECT_EQ(all.back().outcome, "status 200");
  EXPECT_EQ(all.back().milliseconds, 1.5);
  ASSERT_EQ(activity.after(2).size(), 1U);
  EXPECT_EQ(activity.after(2).front().what, "GET /a");
  EXPECT_TRUE(activity.after(3).empty());
  EXPECT_TRUE(activity.after(99).empty());
}

TEST(ActivityTest, ForgetsTheOldestEntriesButCountsOn) {
  Activity activity;
  for (std::size_t i = 0; i < Activity::mostEntries + 5; ++i) activity.noteCache("key", "miss", 0);
  EXPECT_EQ(activity.after(0).size(), Activity::mostEntries);
  EXPECT_EQ(activity.after(0).front().number, 6);
  EXPECT_EQ(activity.totals().misses, static_cast<std::int64_t>(Activity::mostEntries + 5));
}

TEST(ActivityTest, AddsUpWhatCameFromWhere) {
  Activity activity;
  activity.noteCache("key", "hit", 10);
  activity.noteCache("key", "hit", 5);
  activity.noteCache("key", "saved", 100);
  for (int i = 0; i < 3; ++i) activity.noteRequest();
  activity.noteAnswer("GET /a", 0, 7, 1);
  activity.noteFailure("GET /b", "no route", 1);
  const auto totals = activity.totals();
  EXPECT_EQ(totals.hits, 2);
  EXPECT_EQ(totals.bytesFromCache, 15);
  EXPECT_EQ(totals.requests, 3);
  EXPECT_EQ(totals.answers, 1);
  EXPECT_EQ(totals.failures, 1);
  EXPECT_EQ(totals.bytesFromNetwork, 7);
  EXPECT_EQ(activity.after(0).back().outcome, "failed: no route");
}

}  // namespace
}  // namespace vellora::explore
