#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "conformance/QueueConformance.h"
#include "tests/conformance/BrokenHosts.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"

namespace vellora::conformance::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Work that a right serial queue runs, in a way that a test breaks.
template <class Q, int milliseconds>
class BrokenQueueHost final : public QueueHost {
 public:
  std::shared_ptr<DispatchQueue> make() override { return std::make_shared<Q>(); }
  std::chrono::milliseconds patience() const override { return std::chrono::milliseconds(milliseconds); }
};

// A queue that loses work keeps its tests waiting for so long.
template <class Q, int milliseconds = 10'000>
std::set<std::string> brokenByQueue() {
  const std::function<std::unique_ptr<QueueHost>()> make = [] {
    return std::make_unique<BrokenQueueHost<Q, milliseconds>>();
  };
  return tests::brokenBy(make, queueGuarantees());
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
  EXPECT_EQ((brokenByQueue<Broken, 50>().size()), queueGuarantees().size());
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

TEST(BrokenQueuesTest, RunningTheNewestWorkFirstIsFound) {
  class Stack final : public DispatchQueue {
   public:
    void async(Work work) override {
      const std::lock_guard lock(mutex_);
      work_.push_back(std::move(work));
    }
    void run() {
      while (Work newest = take()) newest();
    }

   private:
    Work take() {
      const std::lock_guard lock(mutex_);
      if (work_.empty()) return {};
      Work newest = std::move(work_.back());
      work_.pop_back();
      return newest;
    }
    std::mutex mutex_;
    std::vector<Work> work_;
  };
  class Host final : public QueueHost {
    std::shared_ptr<DispatchQueue> make() override { return std::make_shared<Stack>(); }
    void run(DispatchQueue& queue) override { dynamic_cast<Stack&>(queue).run(); }
    bool runsByItself() const override { return false; }
  };
  const std::function<std::unique_ptr<QueueHost>()> make = [] { return std::make_unique<Host>(); };
  EXPECT_THAT(tests::brokenBy(make, queueGuarantees()), ElementsAre("WorkRunsInTheOrderOfSubmission"));
}

TEST(BrokenQueuesTest, RunningWorkSideBySideIsFound) {
  class Broken final : public DispatchQueue {
   public:
    void async(Work work) override { DispatchQueue::global(DispatchQoS::standard)->async(std::move(work)); }
  };
  // The order may be lost as well; whether it is, is up to the threads.
  EXPECT_TRUE(brokenByQueue<Broken>().contains("WorkOfSeveralThreadsRunsOneAtATime"));
}

TEST(BrokenQueuesTest, DroppingWorkWithTheLastHandleIsFound) {
  class Broken final : public RightQueue {
   public:
    void async(Work work) override {
      RightQueue::async([work = std::move(work), alive = std::weak_ptr(alive_)] {
        if (alive.lock()) work();
      });
    }

   private:
    const std::shared_ptr<int> alive_ = std::make_shared<int>(0);
  };
  EXPECT_THAT((brokenByQueue<Broken, 1000>()), ElementsAre("WorkRunsThoughTheLastHandleToItsQueueIsDropped"));
}

}  // namespace
}  // namespace vellora::conformance::tests
