#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <new>

#include "testkit/ManualQueue.h"
#include "tests/memory/MemoryHost.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/ManualQueues.h"
#include "tests/support/ManualTimer.h"
#include "tests/support/TestClock.h"
#include "vellora/Catalog/Catalog.h"

// A question for which there is no memory says so at once. It does not wait for its deadline.

namespace vellora {
namespace {

using tests::AllocationFailure;

/// One catalogue on a host of its own. Queues, network and deadlines are stepped by hand.
class QuestionAllocationTest : public testing::Test {
 protected:
  void settle() {
    while (queue->runNext() || queues.runNext() || host.network().answerOne()) {
    }
  }

  /// Asks for records, and settles, while an allocation fails.
  void askFailing(std::size_t number) {
    const AllocationFailure failure(number);
    try {
      token = catalog->records({"001a", "00Baccounts"}).then([this](const auto& answer) {
        const AllocationFailure::Pause pause;
        ++calls;
        keys = answer.found.size() + answer.missing.size();
      });
    } catch (const std::bad_alloc&) {
      isThrown = true;
    }
    settle();
    happened = failure.happened();
  }

  tests::TestClock clock;
  tests::ManualQueues queues;
  tests::MemoryHost host;
  const std::shared_ptr<testkit::ManualQueue> queue = std::make_shared<testkit::ManualQueue>();
  std::unique_ptr<Catalog> catalog = std::make_unique<Catalog>(
      host.api(), CatalogOptions{.answersOn = queue, .timer = std::make_shared<tests::ManualTimer>()});

  QuestionToken token;
  int calls = 0;
  std::size_t keys = 0;
  bool isThrown = false;
  bool happened = true;
};

TEST_F(QuestionAllocationTest, RecordsAreAnsweredAtOnceWhicheverAllocationFails) {
  settle();
  for (std::size_t number = 1; happened; ++number) {
    SCOPED_TRACE(number);
    calls = 0;
    keys = 0;
    isThrown = false;
    askFailing(number);
    ASSERT_EQ(calls, isThrown ? 0 : 1);
    ASSERT_EQ(keys, isThrown ? 0U : 2U);
    token.cancel();
  }
}

}  // namespace
}  // namespace vellora
