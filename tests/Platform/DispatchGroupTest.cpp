#include "vellora/Platform/DispatchGroup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "testkit/ManualQueue.h"

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testkit::ManualQueue;

class DispatchGroupTest : public testing::Test {
 protected:
  [[nodiscard]] DispatchQueue::Work note(const std::string& text) {
    return [this, text] { events.push_back(text); };
  }

  const std::shared_ptr<ManualQueue> queue = std::make_shared<ManualQueue>();
  const DispatchGroup group;
  std::vector<std::string> events;
};

TEST_F(DispatchGroupTest, AtZeroTheNotificationIsSubmittedAtOnceAndNeverRunInline) {
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

TEST_F(DispatchGroupTest, SubmittedWorkEntersAtOnceAndItsCapturesGoBeforeItLeaves) {
  auto held = std::make_shared<int>(0);
  const std::weak_ptr<int> weak = held;
  group.async(queue, [this, kept = std::move(held)] { events.emplace_back("work"); });
  bool releasedBefore = false;
  group.notify(queue, [&] { events.emplace_back("notified"); });
  queue->runNext();
  releasedBefore = weak.expired();
  queue->runAll();
  EXPECT_TRUE(releasedBefore);
  EXPECT_THAT(events, ElementsAre("work", "notified"));
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
