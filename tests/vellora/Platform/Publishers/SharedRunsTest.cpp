#include "vellora/Platform/Publishers/SharedRuns.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "testkit/ManualTimer.h"
#include "tests/support/TestError.h"
#include "vellora/Platform/Publishers/Lease.h"

namespace vellora {
namespace {

using namespace std::chrono_literals;

/// Producers that the test resolves, counted.
class SharedRunsTest : public testing::Test {
 protected:
  Publisher<int> joined(const std::string& key = "list") {
    return runs->joined(key, [this] {
      return Publisher<int>::deferred([this] { return Publisher<int>::ofPromise(promises.emplace_back()); });
    });
  }

  AnyCancellable ask(const std::string& key = "list") {
    return joined(key).sink([this](int value) { values.push_back(value); });
  }

  std::optional<SharedRuns<int>> runs = std::optional<SharedRuns<int>>(std::in_place);
  std::vector<Promise<int>> promises;
  std::vector<int> values;
};

TEST_F(SharedRunsTest, WhoComesWhileOneRunsSharesItAndWhoComesLaterStartsAnother) {
  const auto first = ask();
  const auto second = ask();
  ASSERT_EQ(promises.size(), 1U);
  promises[0].succeed(7);
  EXPECT_EQ(values, (std::vector<int>{7, 7}));
  const auto third = ask();
  ASSERT_EQ(promises.size(), 2U);
  promises[1].succeed(8);
  EXPECT_EQ(values, (std::vector<int>{7, 7, 8}));
}

TEST_F(SharedRunsTest, OtherKeysRunBesideIt) {
  const auto first = ask("types");
  const auto second = ask("themes");
  EXPECT_EQ(promises.size(), 2U);
}

TEST_F(SharedRunsTest, AFailureReachesAllWhoWait) {
  std::vector<std::string> errors;
  const auto note = [&](const Completion& end) { errors.push_back(end ? end->localizedDescription() : ""); };
  const auto first = joined().sink([](int) {}, note);
  const auto second = joined().sink([](int) {}, note);
  promises.at(0).fail(tests::TestError{"down"});
  EXPECT_EQ(errors, (std::vector<std::string>{"down", "down"}));
}

TEST_F(SharedRunsTest, ARunThatNobodyWaitsForAnyMoreIsCancelledAndTheNextStartsAnother) {
  const auto witness = std::make_shared<int>();
  Promise<int> source;
  const auto start = [&] {
    return Publisher<int>::ofPromise(source).map([witness](int value) { return value; });
  };
  auto first = runs->joined("list", start).sink([](int) {});
  auto second = runs->joined("list", start).sink([](int) {});
  const auto held = witness.use_count();
  first.cancel();
  EXPECT_EQ(witness.use_count(), held) << "the second still waits";
  second.cancel();
  EXPECT_LT(witness.use_count(), held) << "the run has been let go";
  const auto third = ask();
  EXPECT_EQ(promises.size(), 1U) << "a run of its own";
}

TEST_F(SharedRunsTest, OneThatYieldsInsideItsStartAnswersAndLeavesNothing) {
  int starts = 0;
  const auto start = [&] {
    ++starts;
    return Publisher<int>::just(3);
  };
  for (int i = 0; i < 2; ++i) {
    const auto token = runs->joined("list", start).sink([&](int value) { values.push_back(value); });
  }
  EXPECT_EQ(values, (std::vector<int>{3, 3}));
  EXPECT_EQ(starts, 2);
}

TEST_F(SharedRunsTest, ARunOutlivesItsOwner) {
  const auto token = ask();
  runs.reset();
  promises.at(0).succeed(5);
  EXPECT_EQ(values, std::vector<int>{5});
}

/// A clock to step, and what is fetched on a lease.
class LeasedRunsTest : public SharedRunsTest {
 protected:
  AnyCancellable askOnLease(std::vector<int>& into) {
    const auto begin = [this] { return Publisher<int>::ofPromise(promises.emplace_back()); };
    lease = std::make_shared<Lease>(clock);
    return runs->joined("list", begin, lease).sink([&into](int value) { into.push_back(value); });
  }

  const std::shared_ptr<testkit::ManualTimer> clock = std::make_shared<testkit::ManualTimer>();
  std::shared_ptr<Lease> lease;  // of who asked last
  std::vector<int> early;
  std::vector<int> late;
};

TEST_F(LeasedRunsTest, ARunIsJoinedUntilItsLeaseIsOver) {
  const auto first = askOnLease(early);
  clock->advance(Lease::length - 1ms);
  const auto second = askOnLease(early);
  EXPECT_EQ(promises.size(), 1U);
  clock->advance(1ms);
  const auto third = askOnLease(late);
  EXPECT_EQ(promises.size(), 2U) << "the first may be lost";
  const auto fourth = askOnLease(late);
  EXPECT_EQ(promises.size(), 2U) << "the second runs";
}

TEST_F(LeasedRunsTest, ARunWhoseLeaseIsRenewedIsJoinedForLonger) {
  const auto first = askOnLease(early);
  const auto firstLease = lease;
  clock->advance(6s);
  firstLease->renew(5s);
  clock->advance(5s + Lease::length - 1ms);
  const auto second = askOnLease(early);
  EXPECT_EQ(promises.size(), 1U);
}

TEST_F(LeasedRunsTest, WhoWaitsForTheLostRunGetsWhatTheNewOneBrings) {
  const auto first = askOnLease(early);
  clock->advance(Lease::length);
  const auto second = askOnLease(late);
  promises.at(1).succeed(5);
  EXPECT_EQ(early, std::vector<int>{5});
  EXPECT_EQ(late, std::vector<int>{5});
  promises.at(0).succeed(4);
  EXPECT_EQ(early, std::vector<int>{5});
}

TEST_F(LeasedRunsTest, TheLostRunAnswersThoseWhoWaitForItWhenItEndsAfterAll) {
  const auto first = askOnLease(early);
  clock->advance(Lease::length);
  const auto second = askOnLease(late);
  promises.at(0).succeed(4);
  EXPECT_EQ(early, std::vector<int>{4});
  EXPECT_TRUE(late.empty());
  const auto third = askOnLease(late);
  EXPECT_EQ(promises.size(), 2U) << "it has not taken the new one off the list";
  promises.at(1).succeed(5);
  EXPECT_EQ(late, (std::vector<int>{5, 5}));
}

TEST_F(LeasedRunsTest, ARunWithoutALeaseIsAlwaysJoined) {
  const auto first = ask();
  clock->advance(24h);
  const auto second = askOnLease(late);
  EXPECT_EQ(promises.size(), 1U);
}

TEST_F(SharedRunsTest, NothingIsStartedForWhoHasGoneAlready) {
  int starts = 0;
  const auto start = [&] {
    ++starts;
    return Publisher<int>::ofPromise(promises.emplace_back());
  };
  // Upstream ends the joint of the two, and with it their scope, before the run is entered.
  const auto token = Publisher<int>::fail(tests::TestError{"down"})
                         .combineLatest(runs->joined("list", start))
                         .sink([](const auto&) {});
  EXPECT_EQ(starts, 0);
  const auto next = ask();
  EXPECT_EQ(promises.size(), 1U) << "a run of its own";
}

TEST_F(LeasedRunsTest, WhoWaitsForARunThatTheHostHasDroppedGetsWhatTheNewOneBrings) {
  const auto first = askOnLease(early);
  promises.clear();
  clock->advance(Lease::length);
  const auto second = askOnLease(late);
  promises.at(0).succeed(5);
  EXPECT_EQ(early, std::vector<int>{5});
  EXPECT_EQ(late, std::vector<int>{5});
}

TEST_F(LeasedRunsTest, ALostRunThatNobodyWaitsForIsLetGo) {
  std::weak_ptr<const Lease> ofTheFirst;
  {
    const auto first = askOnLease(early);
    ofTheFirst = lease;
    promises.clear();
  }
  clock->advance(Lease::length);
  const auto second = askOnLease(late);
  EXPECT_TRUE(ofTheFirst.expired());
}

}  // namespace
}  // namespace vellora
