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
