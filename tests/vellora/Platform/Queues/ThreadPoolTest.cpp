#include "vellora/Platform/Queues/ThreadPool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <future>
#include <latch>
#include <memory>
#include <new>
#include <thread>
#include <utility>

#include "tests/support/AllocationCounter.h"
#include "tests/support/NoMoreThreads.h"
#include "tests/support/SteppedSleep.h"
#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"
#include "vellora/Platform/Queues/ThreadCount.h"

namespace vellora::detail {
namespace {

using namespace std::chrono_literals;
using tests::leaveNoRoomForAThread;
using tests::SteppedSleep;

void runOnPool(DispatchQueue::Work work) {
  DispatchQueue::global(DispatchQoS::unspecified)->async(std::move(work));
}

/// Has work block all threads that the pool may have, then sleep.
void useAllThreads() {
  std::latch all(static_cast<std::ptrdiff_t>(threadCount()));
  for (std::size_t i = 0; i < threadCount(); ++i) runOnPool([&] { all.arrive_and_wait(); });
  all.wait();
  SteppedSleep::waitForSleepers(threadCount());
}

/// Which thread is woken for a piece of work while all of them sleep. Returns when it sleeps again.
std::thread::id threadThatWorksWhileAllSleep() {
  std::promise<std::thread::id> thread;
  runOnPool([&] { thread.set_value(std::this_thread::get_id()); });
  const auto id = thread.get_future().get();
  SteppedSleep::waitForSleepers(threadCount());
  return id;
}

/// Returns once all of them have ended, as they are about to.
void waitForTheEndOfAllThreads() {
  while (ThreadPool::shared().threads() > 0) std::this_thread::yield();
}

class Idling final : public ThreadPool::Turn {
 public:
  void run() override {}
};

class ThreadPoolTest : public testing::Test {
 protected:
  /// Of the tests before.
  void SetUp() override {
    while (ThreadPool::shared().threads() > 0) SteppedSleep::pass(ThreadPool::patience);
  }
};

TEST_F(ThreadPoolTest, BeginsNoThreadBeforeThereIsWork) {
  EXPECT_EQ(ThreadPool::shared().threads(), 0U);
}

TEST_F(ThreadPoolTest, ItsThreadsEndWhenTheyHadNoWorkForTenSeconds) {
  useAllThreads();
  EXPECT_EQ(SteppedSleep::pass(9s), 0U);
  EXPECT_EQ(ThreadPool::shared().threads(), threadCount());
  EXPECT_EQ(SteppedSleep::pass(1s), threadCount());
  waitForTheEndOfAllThreads();
  EXPECT_EQ(SteppedSleep::pass(1h), 0U);
}

TEST_F(ThreadPoolTest, LittleWorkKeepsNoMoreThanOneThreadFromEnding) {
  useAllThreads();
  EXPECT_EQ(SteppedSleep::pass(9s), 0U);
  for (std::size_t i = 0; i < threadCount(); ++i) threadThatWorksWhileAllSleep();
  EXPECT_EQ(SteppedSleep::pass(1s), threadCount() - 1);
  while (ThreadPool::shared().threads() > 1) std::this_thread::yield();
}

TEST_F(ThreadPoolTest, ThreadsWithoutWorkEndAtOnceWhenTheyAreToldTo) {
  useAllThreads();
  std::promise<void> begun;
  std::promise<void> release;
  runOnPool([&] {
    begun.set_value();
    release.get_future().wait();
  });
  begun.get_future().wait();
  ThreadPool::shared().endIdleThreads();
  while (ThreadPool::shared().threads() > 1) std::this_thread::yield();
  release.set_value();
  SteppedSleep::waitForSleepers(1);
  EXPECT_EQ(ThreadPool::shared().threads(), 1U) << "the one that had work";
}

TEST_F(ThreadPoolTest, WorkThatGetsNoMemoryForTheFirstThreadIsNotTaken) {
  const auto turn = std::make_shared<Idling>();
  {
    const tests::AllocationFailure failure(1);
    EXPECT_THROW(ThreadPool::shared().submit(turn), std::bad_alloc);
    EXPECT_TRUE(failure.happened());
  }
  EXPECT_EQ(turn.use_count(), 1);
}

/// Uses the pool when it goes.
class UsingAtItsEnd final : public ThreadPool::Turn {
 public:
  explicit UsingAtItsEnd(std::promise<std::size_t>& threads) : threads_(threads) {}
  ~UsingAtItsEnd() override { threads_.set_value(ThreadPool::shared().threads()); }
  UsingAtItsEnd(const UsingAtItsEnd&) = delete;
  UsingAtItsEnd& operator=(const UsingAtItsEnd&) = delete;
  void run() override {}

 private:
  std::promise<std::size_t>& threads_;
};

TEST_F(ThreadPoolTest, WhatHasRunMayUseThePoolWhenItGoes) {
  std::promise<std::size_t> threads;
  ThreadPool::shared().submit(std::make_shared<UsingAtItsEnd>(threads));
  EXPECT_EQ(threads.get_future().get(), 1U);
  SteppedSleep::waitForSleepers(1);
}

TEST_F(ThreadPoolTest, ASerialQueueWithoutWorkLetsItsThreadSleep) {
  SerialDispatchQueue queue("queue");
  queue.async([] {});
  SteppedSleep::waitForSleepers(1);
  EXPECT_EQ(ThreadPool::shared().threads(), 1U);
}

TEST_F(ThreadPoolTest, ASerialQueueDoesNotRunWhereAnotherOneFollowsIt) {
  SerialDispatchQueue first("first");
  std::promise<bool> during;
  first.async([&] { during.set_value(first.runsHere()); });
  EXPECT_TRUE(during.get_future().get());
  SteppedSleep::waitForSleepers(1);
  SerialDispatchQueue second("second");
  std::promise<bool> afterwards;
  second.async([&] { afterwards.set_value(first.runsHere()); });
  EXPECT_FALSE(afterwards.get_future().get());
  EXPECT_EQ(ThreadPool::shared().threads(), 1U) << "the same thread ran both";
}

TEST_F(ThreadPoolTest, ThreadsComeAgainWithWork) {
  useAllThreads();
  SteppedSleep::pass(ThreadPool::patience);
  waitForTheEndOfAllThreads();
  useAllThreads();
  EXPECT_EQ(ThreadPool::shared().threads(), threadCount());
}

TEST_F(ThreadPoolTest, WorkThatComesOneAfterTheOtherTakesOneThread) {
  std::promise<std::thread::id> first;
  runOnPool([&] { first.set_value(std::this_thread::get_id()); });
  SteppedSleep::waitForSleepers(1);
  std::promise<std::thread::id> second;
  runOnPool([&] { second.set_value(std::this_thread::get_id()); });
  EXPECT_EQ(first.get_future().get(), second.get_future().get());
  EXPECT_EQ(ThreadPool::shared().threads(), 1U);
}

TEST_F(ThreadPoolTest, WakesTheThreadThatFellAsleepLast) {
  useAllThreads();
  const auto last = threadThatWorksWhileAllSleep();
  for (std::size_t i = 0; i < threadCount(); ++i) EXPECT_EQ(threadThatWorksWhileAllSleep(), last);
}

TEST_F(ThreadPoolTest, ASerialQueueTakesOneThreadHoweverMuchIsSubmittedFromItsWork) {
  SerialDispatchQueue queue("serial");
  std::promise<void> done;
  queue.async([&] {
    for (int i = 0; i < 100; ++i) queue.async([] {});
    queue.async([&] { done.set_value(); });
  });
  done.get_future().wait();
  EXPECT_EQ(ThreadPool::shared().threads(), 1U);
}

TEST_F(ThreadPoolTest, HasNoMoreThreadsThanItsCountAndRunsTheRestBehind) {
  const std::size_t count = 3 * threadCount();
  std::promise<void> release;
  const auto released = release.get_future().share();
  std::latch begun(static_cast<std::ptrdiff_t>(threadCount()));
  std::latch done(static_cast<std::ptrdiff_t>(count));
  std::atomic<std::size_t> entered = 0;
  for (std::size_t i = 0; i < count; ++i) {
    runOnPool([&, released] {
      if (++entered <= threadCount()) begun.count_down();
      released.wait();
      done.count_down();
    });
  }
  begun.wait();
  EXPECT_EQ(entered, threadCount());
  EXPECT_EQ(ThreadPool::shared().threads(), threadCount());
  release.set_value();
  done.wait();
  SteppedSleep::waitForSleepers(threadCount());
}

TEST_F(ThreadPoolTest, LetsGoOfAPieceOfWorkOnceItHasRun) {
  const auto captured = std::make_shared<int>();
  runOnPool([captured] {});
  SteppedSleep::waitForSleepers(1);
  EXPECT_EQ(captured.use_count(), 1);
}

[[noreturn]] void submitWithoutAThread() {
  leaveNoRoomForAThread();
  const auto captured = std::make_shared<int>();
  SerialDispatchQueue queue("serial");
  int failures = 0;
  try {
    runOnPool([captured] {});
  } catch (const std::bad_alloc&) {
    ++failures;
  }
  try {
    queue.async([captured] {});
  } catch (const std::bad_alloc&) {
    ++failures;
  }
  std::_Exit(failures == 2 && captured.use_count() == 1 ? 0 : 1);
}

TEST(ThreadPoolDeathTest, TakesNoWorkWhereTheSystemHasNoThread) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // in a process that has no pool yet
  EXPECT_EXIT(submitWithoutAThread(), testing::ExitedWithCode(0), "");
}

[[noreturn]] void submitWhereThereIsButOneThread() {
  std::promise<void> second;
  runOnPool([&] {
    leaveNoRoomForAThread();
    runOnPool([&] { second.set_value(); });
  });
  second.get_future().wait();
  std::_Exit(ThreadPool::shared().threads() == 1 ? 0 : 1);
}

TEST(ThreadPoolDeathTest, TheThreadsThatThereAreTakeWhatAnotherOneCannotBeHadFor) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(submitWhereThereIsButOneThread(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace vellora::detail
