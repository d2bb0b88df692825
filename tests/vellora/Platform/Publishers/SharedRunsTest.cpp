#include "vellora/Platform/Publishers/SharedRuns.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/TestError.h"

namespace vellora {
namespace {

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

}  // namespace
}  // namespace vellora
