#include "vellora/Platform/Queues/BoundedQueue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <latch>
#include <memory>
#include <new>
#include <thread>
#include <vector>

#include "testkit/ManualQueue.h"

namespace vellora {
namespace {

using testing::ElementsAre;

class BoundedQueueTest : public testing::Test {
 protected:
  const std::shared_ptr<testkit::ManualQueue> threads = std::make_shared<testkit::ManualQueue>();
  std::vector<int> order;
};

TEST_F(BoundedQueueTest, RunsWorkOnTheOtherQueueAndNeverInsideTheCall) {
  BoundedQueue queue(threads, 2);
  queue.async([&] { order.push_back(1); });
  queue.async([&] { order.push_back(2); });
  EXPECT_EQ(threads->pending(), 2U);
  threads->runAll();
  EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST_F(BoundedQueueTest, RunsNoMoreThanItsBoundAtATimeAndTheRestBehindThemInOrder) {
  BoundedQueue queue(threads, 2);
  // A turn that is taken inside another stands for one on another thread.
  queue.async([&] {
    threads->runNext();
    order.push_back(1);
  });
  queue.async([&] {
    threads->runNext();
    threads->runNext();
    order.push_back(2);
  });
  queue.async([&] { order.push_back(3); });
  queue.async([&] { order.push_back(4); });
  threads->runAll();
  EXPECT_THAT(order, ElementsAre(2, 3, 4, 1));
}

TEST_F(BoundedQueueTest, LetsWorkWaitAnewAfterNoneWaited) {
  BoundedQueue queue(threads, 1);
  for (const int first : {1, 3}) {
    queue.async([this, first] {
      threads->runNext();
      order.push_back(first);
    });
    queue.async([this, first] { order.push_back(first + 1); });
    threads->runAll();
  }
  EXPECT_THAT(order, ElementsAre(1, 2, 3, 4));
}

TEST_F(BoundedQueueTest, WorkThatRunsOutOfMemoryKeepsNoneBehindItWaiting) {
  BoundedQueue queue(threads, 1);
  queue.async([&] {
    threads->runNext();
    throw std::bad_alloc();
  });
  queue.async([&] { order.push_back(2); });
  threads->runAll();
  queue.async([&] { order.push_back(3); });
  threads->runAll();
  EXPECT_THAT(order, ElementsAre(2, 3));
}

TEST_F(BoundedQueueTest, WorkThatItsQueueDropsTakesNoPlace) {
  const auto captured = std::make_shared<int>();
  {
    BoundedQueue queue(std::make_shared<testkit::ManualQueue>(), 1);
    queue.async([captured] {});
  }
  EXPECT_EQ(captured.use_count(), 1);
}

TEST_F(BoundedQueueTest, LookupsLeaveAThreadOfThePoolToOthers) {
  const auto threadCount = std::max(4U, std::thread::hardware_concurrency());
  std::promise<void> release;
  const auto released = release.get_future().share();
  std::latch blocked(threadCount - 1);
  std::latch done(2 * threadCount);
  std::atomic<unsigned> entered = 0;
  for (unsigned i = 0; i < 2 * threadCount; ++i) {
    BoundedQueue::lookups()->async([&, released] {
      if (++entered < threadCount) blocked.count_down();
      released.wait();
      done.count_down();
    });
  }
  blocked.wait();
  std::promise<bool> other;
  DispatchQueue::global(DispatchQoS::unspecified)->async([&] { other.set_value(true); });
  EXPECT_TRUE(other.get_future().get());
  EXPECT_EQ(entered, threadCount - 1);
  release.set_value();
  done.wait();
}

}  // namespace
}  // namespace vellora
