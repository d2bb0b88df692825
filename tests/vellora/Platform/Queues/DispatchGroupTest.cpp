#include "vellora/Platform/Queues/DispatchGroup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "testkit/ManualQueue.h"

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testkit::ManualQueue;

/// Notes whether an object was still held at the moment when work was submitted.
class WatchingQueue final : public DispatchQueue {
 public:
  explicit WatchingQueue(std::weak_ptr<int> watched) : watched_(std::move(watched)) {}
  void async(Work) override { isHeld = !watched_.expired(); }

  std::optional<bool> isHeld;

 private:
  const std::weak_ptr<int> watched_;
};

class DispatchGroupTest : public testing::Test {
 protected:
  [[nodiscard]] DispatchQueue::Work note(const std::string& text) {
    return [this, text] { events.push_back(text); };
  }

  const std::shared_ptr<ManualQueue> queue = std::make_shared<ManualQueue>();
  const DispatchGroup group;
  std::vector<std::string> events;
};

TEST_F(DispatchGroupTest, WithoutTasksANotificationIsSubmittedAtOnceAndNeverRunInline) {
  group.notify(queue, note("notified"));
  EXPECT_THAT(events, IsEmpty());
  EXPECT_EQ(queue->pending(), 1U);
  queue->runAll();
  EXPECT_THAT(events, ElementsAre("notified"));
}

TEST_F(DispatchGroupTest, WaitsForEveryTask) {
  group.enter();
  group.enter();
  group.notify(queue, note("notified"));
  group.leave();
  EXPECT_EQ(queue->pending(), 0U);
  group.leave();
  EXPECT_THAT(events, IsEmpty());
  queue->runAll();
  EXPECT_THAT(events, ElementsAre("notified"));
}

TEST_F(DispatchGroupTest, SeveralNotificationsFireInTheirOrderEachOnce) {
  group.enter();
  group.notify(queue, note("first"));
  group.notify(queue, note("second"));
  group.leave();
  group.enter();
  group.leave();
  queue->runAll();
  EXPECT_THAT(events, ElementsAre("first", "second"));
}

TEST_F(DispatchGroupTest, SubmittedWorkEntersAtOnceAndDestroysItsCapturesBeforeItLeaves) {
  auto held = std::make_shared<int>(0);
  const auto watching = std::make_shared<WatchingQueue>(held);
  group.async(queue, [this, kept = std::move(held)] { events.emplace_back("work"); });
  group.notify(watching, note("notified"));
  EXPECT_EQ(watching->isHeld, std::nullopt);
  queue->runNext();
  EXPECT_EQ(watching->isHeld, std::optional(false));
  EXPECT_THAT(events, ElementsAre("work"));
}

TEST_F(DispatchGroupTest, ATaskThatNeverLeavesKeepsTheNotificationFromFiringAndNothingCrashes) {
  const auto held = std::make_shared<int>(0);
  {
    const DispatchGroup forgotten;
    forgotten.enter();
    forgotten.notify(queue, [held] {});
  }
  EXPECT_EQ(queue->pending(), 0U);
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(DispatchGroupTest, ALeaveWithoutAnEnterDoesNothing) {
  group.leave();
  group.enter();
  group.notify(queue, note("notified"));
  EXPECT_EQ(queue->pending(), 0U);
  group.leave();
  EXPECT_EQ(queue->pending(), 1U);
}

}  // namespace
}  // namespace vellora
