#include "vellora/Platform/Queues/DispatchQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <future>
#include <latch>
#include <list>
#include <memory>
#include <new>
#include <thread>
#include <vector>

#include "vellora/Platform/Queues/SerialDispatchQueue.h"
#include "vellora/Platform/Queues/ThreadCount.h"

namespace vellora {
namespace {

TEST(SerialDispatchQueueTest, KeepsItsLabelAndItsQualityOfService) {
  const SerialDispatchQueue queue("Example.queue", DispatchQoS::userInitiated);
  EXPECT_EQ(queue.label(), "Example.queue");
  EXPECT_EQ(queue.qos(), DispatchQoS::userInitiated);
}

TEST(SerialDispatchQueueTest, RunsInOrderOneAtATimeAndEachSeesWhatTheOthersWrote) {
  SerialDispatchQueue queue("serial");
  std::vector<int> order;  // not synchronised, because the queue runs one piece of work at a time
  std::promise<void> done;
  for (int i = 0; i < 1000; ++i) queue.async([&, i] { order.push_back(i); });
  queue.async([&] { done.set_value(); });
  done.get_future().wait();
  ASSERT_EQ(order.size(), 1000U);
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(order[static_cast<std::size_t>(i)], i);
}

TEST(SerialDispatchQueueTest, NeverRunsWorkInsideTheCall) {
  SerialDispatchQueue queue("serial");
  const auto returned = std::make_shared<bool>(false);
  std::promise<bool> returnedBefore;
  queue.async([&, returned] {
    queue.async([&, returned] { returnedBefore.set_value(*returned); });
    *returned = true;
  });
  EXPECT_TRUE(returnedBefore.get_future().get());
}

TEST(SerialDispatchQueueTest, DroppingTheLastHandleStillRunsWhatWasSubmitted) {
  constexpr int count = 50;
  std::latch all(count);
  {
    const auto queue = std::make_shared<SerialDispatchQueue>("dropped");
    for (int i = 0; i < count; ++i) queue->async([&] { all.count_down(); });
  }
  all.wait();
  SUCCEED() << "every piece of work ran";
}

TEST(SerialDispatchQueueTest, KnowsWhetherItRunsTheCallingThread) {
  const auto queue = std::make_shared<SerialDispatchQueue>("serial");
  const SerialDispatchQueue other("other");
  const auto& pool = DispatchQueue::global(DispatchQoS::unspecified);
  EXPECT_FALSE(queue->runsHere() || pool->runsHere());
  std::promise<void> done;
  queue->async([&] {
    EXPECT_TRUE(queue->runsHere());
    EXPECT_TRUE(pool->runsHere()) << "every queue takes its threads there";
    EXPECT_FALSE(other.runsHere());
    done.set_value();
  });
  done.get_future().wait();
}

TEST(SerialDispatchQueueTest, TwoQueuesDoNotWaitForEachOther) {
  SerialDispatchQueue one("one");
  SerialDispatchQueue other("other");
  std::promise<void> fromOther;
  std::promise<void> done;
  one.async([&] {
    fromOther.get_future().wait();
    done.set_value();
  });
  other.async([&] { fromOther.set_value(); });
  done.get_future().wait();
}

/// A queue whose work submits itself again until it is told to stop.
class EndlessQueue {
 public:
  explicit EndlessQueue(const std::atomic<bool>& stop) : stop_(stop) { goOn(); }
  void waitForEnd() { ended_.get_future().wait(); }

 private:
  void goOn() {
    queue_.async([this] { stop_ ? ended_.set_value() : goOn(); });
  }

  const std::atomic<bool>& stop_;
  std::promise<void> ended_;
  SerialDispatchQueue queue_{"endless"};
};

TEST(SerialDispatchQueueTest, QueuesThatNeverRunEmptyLeaveOthersTheirTurn) {
  std::atomic<bool> stop = false;
  std::list<EndlessQueue> queues;
  while (queues.size() < 2 * detail::threadCount()) queues.emplace_back(stop);
  DispatchQueue::global(DispatchQoS::unspecified)->async([&] { stop = true; });
  for (EndlessQueue& queue : queues) queue.waitForEnd();
  EXPECT_TRUE(stop);
}

TEST(SerialDispatchQueueTest, WorkThatRunsOutOfMemoryKeepsNoneBehindItWaiting) {
  SerialDispatchQueue queue("serial");
  std::promise<void> done;
  queue.async([] { throw std::bad_alloc(); });
  queue.async([&] { done.set_value(); });
  done.get_future().wait();
  SUCCEED() << "the queue has gone on";
}

TEST(SerialDispatchQueueTest, WorkIsLetGoBeforeTheNextRuns) {
  SerialDispatchQueue queue("serial");
  std::promise<long> holders;
  const auto captured = std::make_shared<int>();
  queue.async([captured] {});
  queue.async([&] { holders.set_value(captured.use_count()); });
  EXPECT_EQ(holders.get_future().get(), 1);
}

TEST(GlobalDispatchQueueTest, IsOneForTheProcessAndRunsWork) {
  const auto& queue = DispatchQueue::global(DispatchQoS::userInitiated);
  EXPECT_EQ(queue, DispatchQueue::global(DispatchQoS::userInitiated));
  std::promise<std::thread::id> ran;
  queue->async([&] { ran.set_value(std::this_thread::get_id()); });
  EXPECT_NE(ran.get_future().get(), std::this_thread::get_id());
}

std::atomic<int> runs = 0;

/// Waits until work has run on the pool `count` times more.
void waitForRuns(int count) {
  const int until = runs + count;
  for (int now = runs; now < until; now = runs) runs.wait(now);
}

TEST(GlobalQueueDeathTest, TakesWorkWhileTheProcessEnds) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // the process is a fresh one
  const auto exitWhileBusy = [] {
    // At the end of the process this runs after the destructors of everything static that is made from here
    // on.
    std::atexit([] { waitForRuns(100); });
    SerialDispatchQueue("busy").async([] {
      while (true) {
        const int before = runs;
        DispatchQueue::global(DispatchQoS::userInitiated)->async([] {
          ++runs;
          runs.notify_all();
        });
        runs.wait(before);
      }
    });
    waitForRuns(1);
    std::exit(0);
  };
  EXPECT_EXIT(exitWhileBusy(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace vellora
