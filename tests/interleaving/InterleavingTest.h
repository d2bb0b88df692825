#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <string>

#include "tests/interleaving/Explorer.h"
#include "tests/support/LongForm.h"

namespace vellora::tests::interleaving {

/// A scenario of a few threads that must come to the same however they are interleaved.
///
/// The short form tries all runs of up to two pre-emptions, or what the scenario says, and one stale read.
/// VELLORA_TEST_PREEMPTIONS says another number, and VELLORA_TEST_SCHEDULE the one schedule to run.
class InterleavingTest : public testing::Test {
 protected:
  static constexpr int preemptionsOfTheShortForm = 2;

  /// Tries `scenario` in each order. One with very many of them says with how many pre-emptions `atMost`.
  static void tryEach(const std::function<void()>& scenario, int preemptions = preemptionsOfTheShortForm,
                      int atMost = Limits::none) {
    const char* const one = schedule();
    const auto explored =
        one != nullptr ? replay(scenario, one) : explore(scenario, limits(preemptions, atMost));
    if (explored.failure) ADD_FAILURE() << told(*explored.failure);
    RecordProperty("interleavings", std::to_string(explored.runs));
  }

  /// Whether `tryEach` tries every order with that many pre-emptions. What shows in one of them need not show
  /// where fewer are asked for, or a single schedule.
  static bool isEachTriedOf(int preemptions) {
    return schedule() == nullptr && limits(preemptionsOfTheShortForm).preemptions >= preemptions;
  }

 private:
  static const char* schedule() { return std::getenv("VELLORA_TEST_SCHEDULE"); }

  static Limits limits(int preemptions, int atMost = Limits::none) {
    return {std::min(longForm("VELLORA_TEST_PREEMPTIONS").value_or(preemptions), atMost), 1};
  }

  static std::string told(const Failure& failure) {
    const auto& test = *testing::UnitTest::GetInstance()->current_test_info();
    std::ostringstream text;
    text << failure.what << "\nit comes again by\n  VELLORA_TEST_SCHEDULE='" << failure.schedule
         << "' InterleavingTests --gtest_filter=" << test.test_suite_name() << '.' << test.name();
    for (const auto& line : failure.trace) text << "\n  " << line;
    return text.str();
  }
};

}  // namespace vellora::tests::interleaving
