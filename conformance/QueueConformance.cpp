#include "conformance/QueueConformance.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "conformance/Loan.h"
#include "conformance/Registration.h"
#include "conformance/Threads.h"

namespace vellora::conformance {

namespace {

using testing::ElementsAre;

/// What the work of a test has done, in its order. Shared with the work, which may outlive the test that gave
/// it up.
class Journal {
 public:
  void add(const std::string& entry) {
    const std::lock_guard lock(mutex_);
    entries_.push_back(entry);
    added_.notify_all();
  }

  [[nodiscard]] std::vector<std::string> entries() const {
    const std::lock_guard lock(mutex_);
    return entries_;
  }

  /// Waits for `count` entries, and tells whether they have come. Calls `run` over and over meanwhile, and at
  /// least once, so that a queue that is run by hand needs no patience.
  [[nodiscard]] bool waitFor(std::size_t count, std::chrono::milliseconds limit,
                             const std::function<void()>& run) const {
    constexpr auto betweenRuns = std::chrono::milliseconds(5);
    const auto end = std::chrono::steady_clock::now() + limit;
    while (true) {
      run();
      std::unique_lock lock(mutex_);
      if (added_.wait_for(lock, betweenRuns, [&] { return entries_.size() >= count; })) return true;
      if (std::chrono::steady_clock::now() >= end) return false;
    }
  }

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable added_;
  std::vector<std::string> entries_;
};

bool waitFor(const Journal& journal, std::size_t count, QueueHost& host, DispatchQueue& queue) {
  return journal.waitFor(count, host.patience(), [&] { host.run(queue); });
}

constexpr Guarantee<QueueHost> guarantees[] = {
    {"EachPieceOfWorkRunsOnce",
     [](QueueHost& host) {
       const auto journal = std::make_shared<Journal>();
       const auto queue = host.make();
       queue->async([journal] { journal->add("first"); });
       ASSERT_TRUE(waitFor(*journal, 1, host, *queue));
       // Once this one runs, the first has run as often as it ever will.
       queue->async([journal] { journal->add("second"); });
       ASSERT_TRUE(waitFor(*journal, 2, host, *queue));
       EXPECT_THAT(journal->entries(), ElementsAre("first", "second"));
     }},
    {"WorkNeverRunsInsideTheCallThatSubmitsIt",
     [](QueueHost& host) {
       const auto journal = std::make_shared<Journal>();
       const auto isInside = std::make_shared<std::atomic<bool>>(true);
       const auto queue = host.make();
       const auto here = std::this_thread::get_id();
       queue->async(
           [=] { journal->add(*isInside && std::this_thread::get_id() == here ? "inside" : "later"); });
       *isInside = false;
       ASSERT_TRUE(waitFor(*journal, 1, host, *queue));
       EXPECT_THAT(journal->entries(), ElementsAre("later"));
     }},
    {"WorkRunsInTheOrderOfSubmission",
     [](QueueHost& host) {
       const auto journal = std::make_shared<Journal>();
       const auto queue = host.make();
       std::vector<std::string> expected;
       for (int i = 0; i < 200; ++i) {
         expected.push_back(std::to_string(i));
         queue->async([journal, entry = expected.back()] { journal->add(entry); });
       }
       ASSERT_TRUE(waitFor(*journal, 200, host, *queue));
       EXPECT_EQ(journal->entries(), expected);
     }},
    {"WorkOfSeveralThreadsRunsOneAtATime",
     [](QueueHost& host) {
       const auto journal = std::make_shared<Journal>();
       const auto isBusy = std::make_shared<std::atomic<bool>>(false);
       const auto queue = host.make();
       runOnThreads(4, [&](int) {
         for (int round = 0; round < 25; ++round) {
           queue->async([=] {
             const bool isAlone = !isBusy->exchange(true);
             for (int i = 0; i < 20; ++i) std::this_thread::yield();
             isBusy->store(false);
             journal->add(isAlone ? "alone" : "together");
           });
         }
       });
       ASSERT_TRUE(waitFor(*journal, 100, host, *queue));
       EXPECT_EQ(journal->entries(), std::vector<std::string>(100, "alone"));
     }},
    {"WorkMaySubmitWorkWhichRunsAfterIt",
     [](QueueHost& host) {
       const auto journal = std::make_shared<Journal>();
       const auto queue = host.make();
       const Loan<DispatchQueue> loan(*queue);
       queue->async([journal, borrow = loan.borrower()] {
         borrow([&journal](DispatchQueue& same) { same.async([journal] { journal->add("second"); }); });
         journal->add("first");
       });
       ASSERT_TRUE(waitFor(*journal, 2, host, *queue));
       EXPECT_THAT(journal->entries(), ElementsAre("first", "second"));
     }},
    {"WorkRunsThoughTheLastHandleToItsQueueIsDropped",
     [](QueueHost& host) {
       if (!host.runsByItself()) GTEST_SKIP() << "this queue does not run by itself";
       const auto journal = std::make_shared<Journal>();
       for (int i = 0; i < 20; ++i) host.make()->async([journal] { journal->add("ran"); });
       EXPECT_TRUE(journal->waitFor(20, host.patience(), [] {}));
     }},
};

}  // namespace

std::span<const Guarantee<QueueHost>> queueGuarantees() {
  return guarantees;
}

void registerQueueConformance(const std::string& suite,
                              const std::function<std::unique_ptr<QueueHost>()>& make) {
  registerTrials(suite, queueGuarantees(), make);
}

}  // namespace vellora::conformance
