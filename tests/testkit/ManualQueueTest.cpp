#include "testkit/ManualQueue.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <thread>
#include <vector>

namespace vellora::testkit {
namespace {

TEST(ManualQueueTest, KnowsWhoRunsIt) {
  const auto queue = std::make_shared<ManualQueue>();
  EXPECT_FALSE(queue->runsHere());
  bool inside = false;
  queue->async([&] {
    queue->async([] {});
    queue->runNext();
    inside = queue->runsHere();
  });
  queue->runAll();
  EXPECT_TRUE(inside);
  EXPECT_FALSE(queue->runsHere());
}

TEST(ManualQueueTest, RunsNothingByItself) {
  ManualQueue queue;
  bool ran = false;
  queue.async([&] { ran = true; });
  EXPECT_FALSE(ran);
  EXPECT_EQ(queue.pending(), 1U);
}

TEST(ManualQueueTest, RunsOnePieceAtATimeOldestFirst) {
  ManualQueue queue;
  std::vector<int> ran;
  queue.async([&] { ran.push_back(1); });
  queue.async([&] { ran.push_back(2); });

  EXPECT_TRUE(queue.runNext());
  EXPECT_EQ(ran, std::vector{1});
  EXPECT_TRUE(queue.runNext());
  EXPECT_EQ(ran, (std::vector{1, 2}));
  EXPECT_FALSE(queue.runNext());
}

TEST(ManualQueueTest, RunAllAlsoRunsWhatIsSubmittedMeanwhile) {
  ManualQueue queue;
  std::vector<int> ran;
  queue.async([&] {
    ran.push_back(1);
    queue.async([&] { ran.push_back(3); });
  });
  queue.async([&] { ran.push_back(2); });

  EXPECT_EQ(queue.runAll(), 3U);
  EXPECT_EQ(ran, (std::vector{1, 2, 3}));
  EXPECT_EQ(queue.pending(), 0U);
  EXPECT_EQ(queue.runAll(), 0U);
}

TEST(ManualQueueTest, RunsOnTheThreadThatSaysSo) {
  ManualQueue queue;
  std::thread::id ran;
  std::thread([&] { queue.async([&] { ran = std::this_thread::get_id(); }); }).join();
  queue.runAll();
  EXPECT_EQ(ran, std::this_thread::get_id());
}

TEST(ManualQueueTest, DestroysTheCapturesOfWhatHasRun) {
  ManualQueue queue;
  auto captured = std::make_shared<int>();
  const std::weak_ptr<int> observed = captured;
  queue.async([captured = std::move(captured)] { EXPECT_NE(captured, nullptr); });
  ASSERT_FALSE(observed.expired());
  queue.runNext();
  EXPECT_TRUE(observed.expired());
}

TEST(ManualQueueTest, DropsWhatNeverRan) {
  auto captured = std::make_shared<int>();
  const std::weak_ptr<int> observed = captured;
  {
    ManualQueue queue;
    queue.async([captured = std::move(captured)] { ADD_FAILURE() << "must not run"; });
  }
  EXPECT_TRUE(observed.expired());
}

TEST(ManualQueueTest, KeepsEveryPieceThatSeveralThreadsSubmit) {
  ManualQueue queue;
  int ran = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int piece = 0; piece < 100; ++piece) queue.async([&] { ++ran; });
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(queue.runAll(), 400U);
  EXPECT_EQ(ran, 400);
}

TEST(ManualQueueTest, RunsWorkOfOtherThreadsUntilTheTestHasSeenEnough) {
  ManualQueue queue;
  int ran = 0;
  std::thread thread([&] {
    for (int i = 0; i < 3; ++i) queue.async([&] { ++ran; });
  });
  EXPECT_TRUE(queue.runUntil([&] { return ran == 2; }));
  EXPECT_EQ(ran, 2);
  thread.join();
  EXPECT_EQ(queue.pending(), 1U);
  EXPECT_TRUE(queue.runUntil([] { return true; }));
  EXPECT_EQ(queue.pending(), 1U) << "it was enough before";
}

TEST(ManualQueueTest, GivesUpWhenNoWorkComes) {
  ManualQueue queue;
  queue.async([] {});
  EXPECT_FALSE(queue.runUntil([] { return false; }, std::chrono::milliseconds(1)));
  EXPECT_EQ(queue.pending(), 0U);
}

}  // namespace
}  // namespace vellora::testkit
