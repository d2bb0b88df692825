#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <latch>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "conformance/QueueConformance.h"
#include "testkit/ManualQueue.h"
#include "tests/conformance/BrokenHosts.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"

namespace vellora::conformance::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::set<std::string> brokenByQueue(const std::function<std::unique_ptr<QueueHost>()>& make) {
  return tests::brokenBy(make, queueGuarantees());
}

/// A host of queues that run by themselves.
template <class Q>
class ThreadedHost : public QueueHost {
 public:
  std::shared_ptr<DispatchQueue> make() override { return std::make_shared<Q>(); }
};

template <class Q>
std::set<std::string> brokenByQueue() {
  return brokenByQueue([] { return std::make_unique<ThreadedHost<Q>>(); });
}

/// A host of queues that run when they are told to, so that no thread decides what a test finds.
template <class Q>
class SteppedHost : public QueueHost {
 public:
  std::shared_ptr<DispatchQueue> make() override { return std::make_shared<Q>(); }
  void run(DispatchQueue& queue) override { dynamic_cast<Q&>(queue).runAll(); }
  bool runsByItself() const override { return false; }
};

template <class Q>
std::set<std::string> brokenByStepped() {
  return brokenByQueue([] { return std::make_unique<SteppedHost<Q>>(); });
}

class RightQueue : public DispatchQueue {
 public:
  void async(Work work) override { queue_->async(std::move(work)); }

 protected:
  const std::shared_ptr<SerialDispatchQueue> queue_ = std::make_shared<SerialDispatchQueue>("queue");
};

TEST(BrokenQueuesTest, ARightQueueBreaksNothing) {
  EXPECT_THAT(brokenByQueue<RightQueue>(), IsEmpty());
}

TEST(BrokenQueuesTest, RunningWorkAtOnceIsFound) {
  class Broken final : public DispatchQueue {
   public:
    void async(Work work) override {
      const std::lock_guard lock(mutex_);
      work();
    }

   private:
    std::recursive_mutex mutex_;
  };
  EXPECT_THAT(brokenByQueue<Broken>(),
              ElementsAre("WorkMaySubmitWorkWhichRunsAfterIt", "WorkNeverRunsInsideTheCallThatSubmitsIt"));
}

TEST(BrokenQueuesTest, RunningNothingIsFound) {
  class Broken final : public DispatchQueue {
   public:
    void async(Work) override {}
  };
  // No piece of work ever runs, so there is nothing to be patient for.
  class Host final : public ThreadedHost<Broken> {
    std::chrono::milliseconds patience() const override { return std::chrono::milliseconds(1); }
  };
  EXPECT_EQ(brokenByQueue([] { return std::make_unique<Host>(); }).size(), queueGuarantees().size());
}

TEST(BrokenQueuesTest, RunningWorkTwiceIsFound) {
  class Broken final : public RightQueue {
   public:
    void async(Work work) override {
      RightQueue::async([work] { work(), work(); });
    }
  };
  EXPECT_TRUE(brokenByQueue<Broken>().contains("EachPieceOfWorkRunsOnce"));
}

/// Work that waits until a test has it run.
class WaitingQueue : public DispatchQueue {
 public:
  void async(Work work) override {
    const std::lock_guard lock(mutex_);
    work_.push_back(std::move(work));
  }

 protected:
  std::vector<Work> takeAll() {
    const std::lock_guard lock(mutex_);
    return std::exchange(work_, {});
  }

  Work takeNewest() {
    const std::lock_guard lock(mutex_);
    if (work_.empty()) return {};
    Work newest = std::move(work_.back());
    work_.pop_back();
    return newest;
  }

 private:
  std::mutex mutex_;
  std::vector<Work> work_;  // under mutex_
};

TEST(BrokenQueuesTest, RunningTheNewestWorkFirstIsFound) {
  class Broken final : public WaitingQueue {
   public:
    void runAll() {
      while (Work newest = takeNewest()) newest();
    }
  };
  EXPECT_THAT(brokenByStepped<Broken>(), ElementsAre("WorkRunsInTheOrderOfSubmission"));
}

TEST(BrokenQueuesTest, RunningWorkSideBySideIsFound) {
  class Broken final : public WaitingQueue {
   public:
    // Each piece of work on a thread of its own. They start together, so that they overlap.
    void runAll() {
      const std::vector<Work> all = takeAll();
      std::latch start(static_cast<std::ptrdiff_t>(all.size()));
      std::vector<std::thread> threads;
      for (const Work& work : all) {
        threads.emplace_back([&start, &work] {
          start.arrive_and_wait();
          work();
        });
      }
      for (auto& thread : threads) thread.join();
    }
  };
  // The order may be lost as well; whether it is, is up to the threads.
  EXPECT_TRUE(brokenByStepped<Broken>().contains("WorkOfSeveralThreadsRunsOneAtATime"));
}

TEST(BrokenQueuesTest, DroppingWorkWithTheLastHandleIsFound) {
  // A manual queue drops what has not run when it is destroyed. This host says that it is none.
  class Host final : public SteppedHost<testkit::ManualQueue> {
    bool runsByItself() const override { return true; }
    std::chrono::milliseconds patience() const override { return std::chrono::milliseconds(1); }
  };
  EXPECT_THAT(brokenByQueue([] { return std::make_unique<Host>(); }),
              ElementsAre("WorkRunsThoughTheLastHandleToItsQueueIsDropped"));
}

}  // namespace
}  // namespace vellora::conformance::tests
