#include "vellora/Platform/Publishers/detail/Joint.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <functional>
#include <future>
#include <new>
#include <thread>
#include <utility>
#include <vector>

#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/Subject.h"

namespace vellora::detail {
namespace {

/// Keeps what it is given, and runs `onValue` at each value.
class Recording final : public Receiver {
 public:
  explicit Recording(std::function<void()> onValue) : onValue_(std::move(onValue)) {}
  void receive(void* value) override {
    values_.push_back(*static_cast<int*>(value));
    onValue_();
  }
  void complete(Completion&& /*completion*/) override { ++ends_; }

  [[nodiscard]] const std::vector<int>& values() const { return values_; }
  [[nodiscard]] int ends() const { return ends_; }

 private:
  const std::function<void()> onValue_;
  std::vector<int> values_;
  int ends_ = 0;
};

std::function<void()> beforeItIsBoxed;

Handle<Box> boxedLate(void* value) {
  beforeItIsBoxed();
  return boxed<int>(value);
}

TEST(JointTest, AValueIsPassedOnThoughTheThreadThatWasToDoSoLeftMeanwhile) {
  std::promise<void> begun;
  std::promise<void> release;
  const Handle<Recording> receiver(new Recording([&] {
    if (receiver->values().size() > 1) return;
    begun.set_value();
    release.get_future().wait();
  }));
  const Handle<Joint> joint(new Joint(receiver, SubscriptionScope(), 2, boxedLate));
  std::thread first([&] {
    int value = 1;
    joint->receive(&value);
  });
  begun.get_future().wait();
  beforeItIsBoxed = [&] {
    release.set_value();
    first.join();
  };
  int value = 2;
  joint->receive(&value);
  beforeItIsBoxed = nullptr;  // it refers to what is here
  EXPECT_THAT(receiver->values(), testing::ElementsAre(1, 2));
}

TEST(JointTest, AConsumerThatCancelsAndThenGetsNoMemoryHearsNothingOfIt) {
  const SubscriptionScope scope;
  const Handle<Recording> receiver(new Recording([&] {
    scope.end();
    throw std::bad_alloc();
  }));
  const Handle<Joint> joint(new Joint(receiver, scope, 1, boxed<int>));
  int value = 1;
  joint->receive(&value);
  EXPECT_THAT(receiver->values(), testing::ElementsAre(1));
  EXPECT_EQ(receiver->ends(), 0);
}

TEST(JointTest, AValueThatComesWhileAnotherIsDeliveredIsDeliveredBehindIt) {
  const std::array<Subject<int>, 2> subjects;
  std::vector<int> begun;
  std::vector<int> done;
  const auto token = Publisher<std::size_t>::sequence({0, 1})
                         .flatMap([&](std::size_t index) { return subjects.at(index).publisher(); })
                         .sink([&](int value) {
                           begun.push_back(value);
                           if (value == 1) subjects[1].send(2);
                           done.push_back(value);
                         });
  subjects[0].send(1);
  subjects[0].send(3);
  EXPECT_THAT(begun, testing::ElementsAre(1, 2, 3));
  EXPECT_EQ(done, begun);
}

}  // namespace
}  // namespace vellora::detail
