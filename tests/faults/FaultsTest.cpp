// Every call of every operation to its host fails once in every way, and then two of them do. What comes of
// it is compared with outcomes.txt.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/faults/CallNames.h"
#include "tests/faults/OutcomeTable.h"
#include "tests/faults/Trials.h"
#include "tests/support/SlowBuild.h"

namespace vellora::faults {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
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

/// How many pairs are drawn of those of an operation and a state; no value for all, which are hundreds of
/// thousands.
std::optional<std::size_t> pairsToDraw() {
  constexpr std::size_t usual = tests::codeIsSlow ? 10 : 150;
  const char* told = std::getenv("VELLORA_FAULT_PAIRS");
  if (told == nullptr) return usual;
  return told == std::string("all") ? std::nullopt
                                    : std::optional<std::size_t>(std::strtoul(told, nullptr, 10));
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

/// What an operation answers when nothing goes wrong: "KEY = VALUE, …"; nothing for a load that ends without
/// an error.
std::string rightAnswer(const std::string& operation, const std::string& state) {
  static const std::map<std::string, std::string> answers = {
      {"prefetch", ""},
      {"ids", "001a = Account, 00Bv = ListView of Contact"},
      {"names", "Account = Account, Contact = Contact"},
      {"search layouts", "Account = Account, Contact = Contact"},
      {"compact layouts", "Account = Account with Owner.Name, Contact = Contact with Owner.Name"},
      {"loadThemes", ""},
      {"themes(for:)", "Account = Account, Contact = Contact"},
      {"loadSObjects", ""},
      {"sObjectsForIds", "001a = Account, 00Bv = ListView of Contact"},
      {"sObjectsForNames", "Account = Account, Contact = Contact"},
      {"layoutForApiName", "Account = Account, Contact = Contact"},
      {"compactLayoutForApiName", "Account = Account with Owner.Name, Contact = Contact with Owner.Name"},
      {"qualifiedApiNameAsPublisher", "User = Name"},
      {"records", "001a = Account, 00Bv = ListView of Contact, zzz = unknown"},
      {"types", "Account = Account, Contact = Contact, Nonsense = unknown"},
      {"allTypes", "Account = Account, Contact = Contact, ListView = ListView"},
      {"searchColumns", "Account = Account, Contact = Contact"},
      {"headlines", "Account = Account with Owner.Name, Contact = Contact with Owner.Name"},
      {"refresh", ""},
      {"list on condition", "Account = Account, Contact = Contact, ListView = ListView"},
  };
  // The service alone does not load the types, by whose prefixes ids are known.
  return operation == "sObjectsForIds" && state == "cold" ? "" : answers.at(operation);
}

std::string textOf(const Delivery& delivery) {
  std::string text = delivery.error;
  if (!delivery.entries) return text;
  for (const auto& [key, entry] : *delivery.entries) {
    text.append(text.empty() ? "" : ", ").append(key).append(" = ").append(entry.text);
  }
  return text;
}

class FaultsTest : public testing::TestWithParam<std::string> {
 protected:
  /// Whether enough has been reported: the first few tell what is wrong.
  static bool enough() {
    return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count() > 20;
  }

  /// A question never stays silent, is never answered twice, and accounts for each key.
  void expectEnded(const Trials::Trial& trial, const std::string& what) const {
    if (!operation.isQuestion) return;
    for (const auto& text : {trial.outcome.answer, trial.outcome.afterwards}) {
      EXPECT_THAT(text, Not(HasSubstr("never"))) << what;
      EXPECT_THAT(text, Not(HasSubstr(", then "))) << what;
      EXPECT_THAT(text, Not(ContainsRegex("(^|, |same |anew )no "))) << what;
    }
  }

  const Operation& operation = operationNamed(GetParam());
};

TEST_P(FaultsTest, WithoutFaultsAllIsWell) {
  for (const auto& state : Trials::states()) {
    Trials trials(operation, state);
    ASSERT_EQ(trials.right().size(), 1U) << state;
    EXPECT_EQ(textOf(trials.right().front()), rightAnswer(operation.name, state)) << state;
    const auto trial = trials.run({});
    EXPECT_EQ(trial.outcome, (Outcome{"right", "right"})) << state;
    EXPECT_THAT(trial.leftovers, IsEmpty()) << state;
  }
}

TEST_P(FaultsTest, EachFaultComesToWhatTheTableSays) {
  std::size_t number = 0;
  std::size_t tried = 0;
  for (const auto& state : Trials::states()) {
    Trials trials(operation, state);
    const auto calls = trials.run({}).calls;
    const auto names = namesOf(calls);
    for (const auto& fault : faultsFrom(0, calls)) {
      if (operation.isQuestion && tests::codeIsSlow && ++number % 3 != 0) continue;
      ++tried;
      const auto name = named(fault, names);
      const auto trial = trials.run({fault});
      const auto what = operation.name + ", " + state + ", " + name.description();
      EXPECT_EQ(trial.outcome, table().expected(operation.name, state, name)) << what;
      EXPECT_THAT(trial.leftovers, IsEmpty()) << what;
      expectEnded(trial, what);
      if (enough()) return;
    }
  }
  RecordProperty("singles", static_cast<int>(tried));
}

TEST_P(FaultsTest, PairsOfFaultsComeToWhatTheirSinglesAndTheTableSay) {
  const auto draws = pairsToDraw();
  std::size_t tried = 0;
  for (const auto& state : Trials::states()) {
    Trials trials(operation, state);
    // The second fault is at one of the calls that the library makes once the first has struck.
    const auto seconds = [&](const PlannedFault& first) {
      auto calls = trials.run({first}).calls;
      return std::pair(faultsFrom(first.call + 1, calls), namesOf(calls));
    };
    const auto tryPair = [&](const PlannedFault& first, const PlannedFault& second,
                             const std::vector<std::string>& names) {
      ++tried;
      const auto one = named(first, names);
      const auto other = named(second, names);
      const auto trial = trials.run({first, second});
      const auto what = operation.name + ", " + state + ", " + one.description() + ", " + other.description();
      EXPECT_TRUE(table().allows(operation.name, state, one, other, trial.outcome))
          << what << " -> " << trial.outcome << ", but alone " << table().expected(operation.name, state, one)
          << " and " << table().expected(operation.name, state, other);
      EXPECT_THAT(trial.leftovers, IsEmpty()) << what;
      expectEnded(trial, what);
    };

    const auto firsts = faultsFrom(0, trials.run({}).calls);
    std::mt19937 random(1);  // NOLINT: the same pairs each time
    for (std::size_t draw = 0; draw < draws.value_or(firsts.size()); ++draw) {
      const auto& first = firsts[draws ? random() % firsts.size() : draw];
      const auto [faults, names] = seconds(first);
      for (std::size_t i = 0; i < (draws ? std::min<std::size_t>(1, faults.size()) : faults.size()); ++i) {
        tryPair(first, faults[draws ? random() % faults.size() : i], names);
        if (enough()) return;
      }
    }
  }
  RecordProperty("pairs", static_cast<int>(tried));
}

// A line that decides of no fault would claim what no test tries.
TEST(FaultsTableTest, EveryLineDecidesOfSomeFault) {
  std::vector<bool> decides(table().singleLines());
  for (const auto& operation : operations()) {
    for (const auto& state : Trials::states()) {
      const auto calls = Trials(operation, state).run({}).calls;
      const auto names = namesOf(calls);
      for (const auto& fault : faultsFrom(0, calls)) {
        const auto line = table().decidingLine(operation.name, state, named(fault, names));
        if (line) decides[*line] = true;
      }
    }
  }
  for (std::size_t line = 0; line < decides.size(); ++line) {
    EXPECT_TRUE(decides[line]) << "line " << line + 1 << " of those about single faults";
  }
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
