#include "vellora/Platform/Publishers/detail/QueuedStart.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <vector>

#include "tests/support/RefusingQueue.h"
#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/Subject.h"
#include "vellora/Platform/Values/OutOfMemory.h"

namespace vellora::detail {
namespace {

/// Counts the ends that it is told of.
class Ends final : public Receiver {
 public:
  void receive(void* /*value*/) override { ADD_FAILURE(); }
  void complete(Completion&& /*completion*/) override { ++count_; }

  [[nodiscard]] int count() const { return count_; }

 private:
  int count_ = 0;
};

TEST(QueuedStartTest, AStartThatGetsNoMemoryFailsTheSubscription) {
  const auto queue = std::make_shared<tests::RefusingQueue>();
  std::vector<Completion> ends;
  const auto token =
      Publisher<int>::deferred([]() -> Publisher<int> { throw std::bad_alloc(); })
          .subscribe(queue)
          .sink([](int) { ADD_FAILURE(); }, [&](const Completion& end) { ends.push_back(end); });
  queue->runAll();
  ASSERT_EQ(ends.size(), 1U);
  EXPECT_TRUE(ends.front() && ends.front()->as<OutOfMemory>());
}

TEST(QueuedStartTest, AStartThatGetsNoMemoryEndsWhatItHasBegun) {
  const auto queue = std::make_shared<tests::RefusingQueue>();
  bool hasEnded = false;
  const auto upstream =
      recipe([&hasEnded](const Handle<Receiver>& /*to*/, const SubscriptionScope& scope, Use /*use*/) {
        scope.add([&hasEnded] { hasEnded = true; });
        throw std::bad_alloc();
      });
  const Handle<Ends> ends(new Ends);
  start(startedOn(upstream, queue), ends, SubscriptionScope());
  queue->runAll();
  EXPECT_TRUE(hasEnded);
  EXPECT_EQ(ends->count(), 1);
}

TEST(QueuedStartTest, WhatIsCancelledEndsHereWhereItsQueueTakesNoWork) {
  const auto queue = std::make_shared<tests::RefusingQueue>();
  const Subject<int> subject;
  const auto held = std::make_shared<int>();
  auto token = subject.publisher().map([held](int value) { return value; }).subscribe(queue).sink([](int) {
    ADD_FAILURE();
  });
  queue->runAll();
  const auto whileItRuns = held.use_count();
  queue->refuseNext();
  token.cancel();
  EXPECT_LT(held.use_count(), whileItRuns);
  subject.send(1);
}

}  // namespace
}  // namespace vellora::detail
