#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/AllocationCounter.h"
#include "vellora/Platform/Publishers/SharedRuns.h"
#include "vellora/Platform/Values/OutOfMemory.h"

// Who joins a shared run, or would begin one, and gets no memory, spoils it for nobody.

namespace vellora {
namespace {

using Extent = tests::AllocationFailure::Extent;

class SharedRunsAllocationTest : public testing::Test {
 protected:
  Publisher<int> joined() {
    return runs.joined("list", [this] {
      const tests::AllocationFailure::Pause pause;
      return Publisher<int>::ofPromise(promises.emplace_back());
    });
  }

  /// How somebody has fared who was to wait for the run.
  struct Waiting {
    bool isThrown = false;
    std::optional<Error> error;
    std::optional<int> value;
    AnyCancellable token;
  };

  void wait(Waiting& waiting) {
    try {
      waiting.token = joined().sink([&](int value) { waiting.value = value; },
                                    [&](const Completion& error) { waiting.error = error; });
    } catch (const std::bad_alloc&) {
      waiting.isThrown = true;
    }
  }

  /// Has one wait while an allocation fails. Tells whether there was one of that number.
  bool waitFailing(Waiting& waiting, std::size_t number, Extent extent) {
    const tests::AllocationFailure failure(number, extent);
    wait(waiting);
    return failure.happened();
  }

  SharedRuns<int> runs;
  std::vector<Promise<int>> promises;
};

TEST_F(SharedRunsAllocationTest, WhoComesBehindOneThatGotNoMemoryStartsARunThatAnswers) {
  for (const auto extent : {Extent::one, Extent::allFromThereOn}) {
    bool happened = true;
    for (std::size_t number = 1; happened; ++number) {
      SCOPED_TRACE(number);
      promises.clear();
      Waiting first;
      happened = waitFailing(first, number, extent);
      EXPECT_TRUE(!happened || first.isThrown || first.error) << "waits for nothing";
      Waiting second;
      wait(second);
      ASSERT_FALSE(promises.empty()) << "the run of the first has never begun";
      promises.back().succeed(7);
      EXPECT_EQ(second.value, 7);
    }
  }
}

TEST_F(SharedRunsAllocationTest, WhoGetsNoMemoryToJoinLeavesTheRunToTheOthers) {
  bool happened = true;
  for (std::size_t number = 1; happened; ++number) {
    SCOPED_TRACE(number);
    promises.clear();
    Waiting first;
    wait(first);
    {
      Waiting second;
      happened = waitFailing(second, number, Extent::allFromThereOn);
    }
    ASSERT_EQ(promises.size(), 1U);
    promises[0].succeed(7);
    EXPECT_EQ(first.value, 7);
    Waiting third;
    wait(third);
    EXPECT_EQ(promises.size(), 2U) << "the run has ended";
  }
}

}  // namespace
}  // namespace vellora
