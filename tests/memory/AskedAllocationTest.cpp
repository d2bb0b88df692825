#include "vellora/Catalog/Asked.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <stop_token>
#include <string>
#include <vector>

#include "testkit/ManualQueue.h"
#include "testkit/ManualTimer.h"
#include "tests/support/AllocationCounter.h"
#include "vellora/Catalog/Inquiry.h"
#include "vellora/Catalog/Question.h"
#include "vellora/Catalog/Sheet.h"
#include "vellora/Platform/Queues/CallbackGate.h"

// A question ends, and accounts for its keys, without memory.

namespace vellora {
namespace {

using namespace std::chrono_literals;
using tests::AllocationFailure;
using Extent = AllocationFailure::Extent;
using Asked = detail::Asked<TypeChange>;

const std::string shortKey = "a";
const std::string longKey = "a key that does not fit into the string itself";

class AskedAllocationTest : public testing::Test {
 protected:
  AskedAllocationTest() { common->timer = timer; }

  [[nodiscard]] std::shared_ptr<Asked> made() const {
    return std::make_shared<Asked>(
        std::vector{shortKey, longKey},
        detail::Terms{queue, timer, gate, catalog,
                      std::make_shared<Inquiry>(common, QuestionKind::types, TimedQueue::Delay(5s),
                                                std::make_shared<CallbackGate>())});
  }

  [[nodiscard]] std::shared_ptr<Asked> asked() const {
    auto question = made();
    question->begin(5s, token);
    return question;
  }

  /// Ends a question by `end` while somebody is inside its gate and there is no memory, and says how it
  /// ended.
  [[nodiscard]] End endingBusy(const std::function<void(Asked& question)>& end) const {
    const auto question = asked();
    question->write([&](auto&) {
      const AllocationFailure failure(1, Extent::allFromThereOn);
      EXPECT_NO_THROW(end(*question));
      EXPECT_FALSE(failure.happened());
    });
    EXPECT_EQ(timer->pending(), 0U);
    const auto answer = question->take();
    EXPECT_EQ(answer.missing.size(), 2U);
    return answer.end;
  }

  const std::shared_ptr<testkit::ManualQueue> queue = std::make_shared<testkit::ManualQueue>();
  const std::shared_ptr<testkit::ManualTimer> timer = std::make_shared<testkit::ManualTimer>();
  const std::shared_ptr<CallbackGate> gate = std::make_shared<CallbackGate>();
  const SubscriptionScope catalog;
  std::stop_source stop;
  const std::stop_token token = stop.get_token();
  const std::shared_ptr<Inquiry::Common> common = std::make_shared<Inquiry::Common>();
};

TEST_F(AskedAllocationTest, EndsAtItsDeadlineWithoutMemoryWhileAnotherWrites) {
  EXPECT_EQ(endingBusy([&](Asked&) { timer->advance(5s); }), End::timedOut);
}

TEST_F(AskedAllocationTest, EndsAtAStopWithoutMemoryWhileAnotherWrites) {
  EXPECT_EQ(endingBusy([&](Asked&) { stop.request_stop(); }), End::cancelled);
}

TEST_F(AskedAllocationTest, EndsWithItsCatalogueWithoutMemoryWhileAnotherWrites) {
  EXPECT_EQ(endingBusy([&](Asked&) { catalog.end(); }), End::cancelled);
}

TEST_F(AskedAllocationTest, IsCancelledWithoutMemoryWhileAnotherWrites) {
  EXPECT_EQ(endingBusy([](Asked& question) { question.cancel(); }), End::cancelled);
}

TEST_F(AskedAllocationTest, FailsWithoutMemoryWhileAnotherWrites) {
  EXPECT_EQ(endingBusy([](Asked& question) { question.fail(outOfMemory()); }), End::failed);
}

TEST_F(AskedAllocationTest, AWriteForWhichThereIsNoMemoryFailsTheQuestionAndSaysSo) {
  const auto question = asked();
  question->write([&](auto&) {
    const AllocationFailure failure(1, Extent::allFromThereOn);
    EXPECT_NO_THROW(question->write([&](auto&) { ADD_FAILURE() << "there was no memory to keep it"; }));
  });
  const auto answer = question->take();
  EXPECT_EQ(answer.end, End::failed);
  EXPECT_EQ(answer.missing.at(longKey).why(), Missing::Why::failed);
}

TEST_F(AskedAllocationTest, AQuestionThatCouldNotBeAskedLeavesNothing) {
  bool happened = true;
  for (std::size_t number = 1; happened; ++number) {
    SCOPED_TRACE(number);
    const auto question = made();
    bool isThrown = false;
    {
      const AllocationFailure failure(number);
      try {
        question->begin(5s, token);
      } catch (const std::bad_alloc&) {
        isThrown = true;
      }
      happened = failure.happened();
    }
    EXPECT_EQ(isThrown, happened);
    if (!isThrown) question->cancel();
    EXPECT_EQ(timer->pending(), 0U);
    EXPECT_EQ(catalog.size(), 0U);
    EXPECT_EQ(question.use_count(), 1);
  }
}

TEST(SheetAllocationTest, EveryKeyIsAccountedForWhicheverAllocationFails) {
  const Missing unknown(Missing::Why::unknown);
  const Age age{Date::since1970(1), false};
  bool happened = true;
  for (std::size_t number = 1; happened; ++number) {
    SCOPED_TRACE(number);
    Sheet<std::string> sheet({shortKey, longKey, "aged", "unknown"});
    {
      const AllocationFailure failure(number, Extent::allFromThereOn);
      try {
        sheet.missed("unknown", unknown);
        sheet.found(shortKey, "found");
        sheet.found("aged", "found", age);
        sheet.found(longKey, "found");
      } catch (const std::bad_alloc&) {
        EXPECT_TRUE(failure.happened());
      }
      happened = failure.happened();
      sheet.close(End::failed, Missing(Missing::Why::failed, Failure(outOfMemory())));
    }
    const auto answer = sheet.take();
    EXPECT_EQ(answer.found.size() + answer.missing.size(), 4U);
    EXPECT_TRUE(answer.missing.contains("unknown"));
    for (const auto& [key, other] : answer.otherAges) EXPECT_TRUE(answer.found.contains(key));
    EXPECT_TRUE(answer.trouble);
  }
}

}  // namespace
}  // namespace vellora
