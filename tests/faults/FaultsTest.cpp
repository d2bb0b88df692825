// Every call of every operation to its host fails once in every way, and then two of them do. What comes of
// it is compared with outcomes.txt.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/faults/CallNames.h"
#include "tests/faults/OutcomeTable.h"
#include "tests/faults/Trials.h"

namespace vellora::faults {
namespace {

using testing::IsEmpty;
using testkit::faultsOf;
using testkit::HostCall;
using testkit::HostFault;
using testkit::HostFaults;

const OutcomeTable& table() {
  static const OutcomeTable read = [] {
    std::ifstream stream(VELLORA_OUTCOMES);
    return OutcomeTable({std::istreambuf_iterator<char>(stream), {}});
  }();
  return read;
}

/// Of how many pairs one is tried. All of them take minutes; a prime number comes past every kind of fault.
std::size_t pairStride() {
  const char* told = std::getenv("VELLORA_PAIR_STRIDE");
  return told ? std::strtoul(told, nullptr, 10) : 23;
}

/// Every fault that the calls from number `begin` on can have.
std::vector<PlannedFault> faultsFrom(std::size_t begin, const std::vector<HostCall>& calls) {
  std::vector<PlannedFault> faults;
  for (std::size_t call = begin; call < calls.size(); ++call) {
    for (const HostFault fault : faultsOf(calls[call].operation)) {
      for (const auto lasting : {HostFaults::Lasting::once, HostFaults::Lasting::fromThenOn}) {
        faults.push_back({call, fault, lasting});
      }
    }
  }
  return faults;
}

NamedFault named(const PlannedFault& fault, const std::vector<std::string>& names) {
  return {names[fault.call], fault.fault, fault.lasting};
}

class FaultsTest : public testing::TestWithParam<std::string> {
 protected:
  /// Whether enough has been reported: the first few tell what is wrong.
  static bool enough() {
    return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count() > 20;
  }

  const Operation& operation = operationNamed(GetParam());
};

TEST_P(FaultsTest, WithoutFaultsAllIsWell) {
  for (const auto& state : Trials::states()) {
    Trials trials(operation, state);
    EXPECT_EQ(trials.right().size(), 1U) << state;
    const auto trial = trials.run({});
    EXPECT_EQ(trial.outcome, (Outcome{"right", "right"})) << state;
    EXPECT_THAT(trial.leftovers, IsEmpty()) << state;
  }
}

TEST_P(FaultsTest, EachFaultComesToWhatTheTableSays) {
  std::size_t tried = 0;
  for (const auto& state : Trials::states()) {
    Trials trials(operation, state);
    const auto calls = trials.run({}).calls;
    const auto names = namesOf(calls);
    for (const auto& fault : faultsFrom(0, calls)) {
      ++tried;
      const auto name = named(fault, names);
      const auto trial = trials.run({fault});
      EXPECT_EQ(trial.outcome, table().expected(operation.name, state, name))
          << operation.name << ", " << state << ", " << name.description();
      EXPECT_THAT(trial.leftovers, IsEmpty())
          << operation.name << ", " << state << ", " << name.description();
      if (enough()) return;
    }
  }
  RecordProperty("singles", static_cast<int>(tried));
}

TEST_P(FaultsTest, EachPairOfFaultsComesToWhatItsSinglesAndTheTableSay) {
  const std::size_t stride = pairStride();
  std::size_t pairs = 0;
  std::size_t tried = 0;
  for (const auto& state : Trials::states()) {
    Trials trials(operation, state);
    for (const auto& first : faultsFrom(0, trials.run({}).calls)) {
      // What can fail next is what the library does about the first fault.
      const auto calls = trials.run({first}).calls;
      const auto names = namesOf(calls);
      for (const auto& second : faultsFrom(first.call + 1, calls)) {
        if (++pairs % stride != 0) continue;
        ++tried;
        const auto one = named(first, names);
        const auto other = named(second, names);
        const auto trial = trials.run({first, second});
        EXPECT_TRUE(table().allows(operation.name, state, one, other, trial.outcome))
            << operation.name << ", " << state << ", " << one.description() << ", " << other.description()
            << " -> " << trial.outcome << ", but alone " << table().expected(operation.name, state, one)
            << " and " << table().expected(operation.name, state, other);
        EXPECT_THAT(trial.leftovers, IsEmpty())
            << operation.name << ", " << state << ", " << one.description() << ", " << other.description();
        if (enough()) return;
      }
    }
  }
  RecordProperty("pairs", static_cast<int>(tried));
}

std::vector<std::string> operationNames() {
  std::vector<std::string> names;
  for (const auto& operation : operations()) names.push_back(operation.name);
  return names;
}

/// The operation's letters: what a test's name may have of it.
std::string testNameOf(const testing::TestParamInfo<std::string>& operation) {
  std::string name;
  for (const char character : operation.param) {
    if (std::isalnum(static_cast<unsigned char>(character)) != 0) name += character;
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Operations, FaultsTest, testing::ValuesIn(operationNames()), testNameOf);

}  // namespace
}  // namespace vellora::faults
