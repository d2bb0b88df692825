#include "vellora/DataServices/SharedFetch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "testkit/ManualTimer.h"
#include "tests/support/ManualQueues.h"
#include "tests/support/TestError.h"

namespace vellora {
namespace {

using namespace std::chrono_literals;

/// Waits one second before each of three attempts. Writes through the gate that it is given.
class Patient final : public Requester {
 public:
  Patient(std::shared_ptr<TimedQueue> timer, std::shared_ptr<CallbackGate> writes)
      : timer_(std::move(timer)), writes_(std::move(writes)) {}

  [[nodiscard]] Answered sending(const std::string&, int) override { return nullptr; }
  void served() override { ++servings; }
  [[nodiscard]] std::optional<TimedQueue::Delay> pauseAfter(int attempt, const Error&) override {
    return attempt < 3 ? std::optional<TimedQueue::Delay>(1s) : std::nullopt;
  }
  [[nodiscard]] CallbackGate& writes() const override { return *writes_; }
  [[nodiscard]] const std::shared_ptr<TimedQueue>& timer() const override { return timer_; }

  int servings = 0;

 private:
  const std::shared_ptr<TimedQueue> timer_;
  const std::shared_ptr<CallbackGate> writes_;
};

class SharedFetchTest : public testing::Test {
 protected:
  /// Fetches "types", which fails so often first.
  [[nodiscard]] AnyCancellable fetch(int failures, const Fetching& fetching) {
    const auto start = [this, failures](const Fetching& now) {
      attempts.push_back(now.attempt);
      return now.attempt <= failures ? Publisher<int>::fail(tests::TestError{"busy"})
                                     : Publisher<int>::just(7);
    };
    return sharedFetch(runs, "types", fetching, start)
        .sink([this](int value) { values.push_back(value); },
              [this](const Completion& error) { failed += error ? 1 : 0; });
  }

  void pass(TimedQueue::Delay time) {
    timer->advance(time);
    queues.runAll();
  }

  tests::ManualQueues queues;
  const std::shared_ptr<testkit::ManualTimer> timer = std::make_shared<testkit::ManualTimer>();
  const std::shared_ptr<CallbackGate> gate = std::make_shared<CallbackGate>();
  const std::shared_ptr<Patient> first = std::make_shared<Patient>(timer, gate);
  const std::shared_ptr<Patient> second = std::make_shared<Patient>(timer, gate);
  SharedRuns<int> runs;
  std::vector<int> attempts;
  std::vector<int> values;
  int failed = 0;
};

TEST_F(SharedFetchTest, WithoutARequesterAFailureIsTheEnd) {
  const auto token = fetch(1, {});
  EXPECT_EQ(attempts, (std::vector<int>{1}));
  EXPECT_EQ(failed, 1);
}

TEST_F(SharedFetchTest, TriesAgainAfterThePauseUntilItSucceeds) {
  const auto token = fetch(2, {first});
  pass(999ms);
  EXPECT_EQ(attempts, (std::vector<int>{1}));
  pass(1ms);
  pass(1s);
  EXPECT_EQ(attempts, (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(values, (std::vector<int>{7}));
  EXPECT_EQ(first->servings, 1);
}

TEST_F(SharedFetchTest, FailsWhenTheRequesterTriesNoMore) {
  const auto token = fetch(3, {first});
  pass(1s);
  pass(1s);
  EXPECT_EQ(attempts.size(), 3U);
  EXPECT_EQ(failed, 1);
  EXPECT_EQ(first->servings, 0);
  EXPECT_EQ(timer->pending(), 0U);
}

TEST_F(SharedFetchTest, WhoComesDuringAPauseSharesTheAttemptsBehindIt) {
  const auto token = fetch(1, {first});
  const auto other = fetch(1, {second});
  pass(1s);
  EXPECT_EQ(attempts, (std::vector<int>{1, 2}));
  EXPECT_EQ(values, (std::vector<int>{7, 7}));
  EXPECT_EQ(first->servings + second->servings, 2);
}

TEST_F(SharedFetchTest, APauseGoesOnForWhoIsLeftAndEndsWithTheLast) {
  auto token = fetch(1, {first});
  auto other = fetch(1, {second});
  token.cancel();
  EXPECT_EQ(timer->pending(), 1U);
  other.cancel();
  EXPECT_EQ(timer->pending(), 0U);
  EXPECT_EQ(attempts.size(), 1U);
}

TEST_F(SharedFetchTest, WhoWritesThroughAnotherGateHasAFetchOfItsOwn) {
  const auto stranger = std::make_shared<Patient>(timer, std::make_shared<CallbackGate>());
  const auto token = fetch(1, {first});
  const auto other = fetch(1, {stranger});
  EXPECT_EQ(attempts, (std::vector<int>{1, 1}));
  pass(1s);
  EXPECT_EQ(values, (std::vector<int>{7, 7}));
}

}  // namespace
}  // namespace vellora
