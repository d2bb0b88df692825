#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "testkit/HostFaults.h"
#include "tests/faults/Trials.h"

namespace vellora::faults {

/// A fault as the table of outcomes knows it.
struct NamedFault {
  std::string call;  ///< as `namesOf` names it
  testkit::HostFault fault;
  testkit::HostFaults::Lasting lasting;

  /// "GET themes: error, once".
  [[nodiscard]] std::string description() const;
};

/// What is expected of each fault: the content of outcomes.txt, whose head says how it is to be read.
class OutcomeTable {
 public:
  /// Aborts with a message that names the line when the text has another form.
  explicit OutcomeTable(const std::string& text);

  /// What a single fault comes to.
  [[nodiscard]] Outcome expected(const std::string& operation, const std::string& state,
                                 const NamedFault& fault) const;

  /// The line that decides of a single fault, counted from 0 among those of single faults; no value when none
  /// fits.
  [[nodiscard]] std::optional<std::size_t> decidingLine(const std::string& operation,
                                                        const std::string& state,
                                                        const NamedFault& fault) const;

  /// How many lines of single faults there are.
  [[nodiscard]] std::size_t singleLines() const noexcept { return lines_.size(); }

  /// Whether a pair of faults, the second of which is at a later call, may come to `actual`.
  [[nodiscard]] bool allows(const std::string& operation, const std::string& state, const NamedFault& first,
                            const NamedFault& second, const Outcome& actual) const;

 private:
  using Patterns = std::vector<std::string>;

  struct Line {
    Patterns operations;
    Patterns states;
    Patterns calls;
    Patterns faults;
    Patterns lastings;
    Outcome outcome;
  };

  /// Allows more of a pair than its singles tell.
  struct PairLine {
    Patterns operations;
    Patterns firstFaults;
    Patterns secondFaults;
    Patterns answers;
    Patterns afterwards;
  };

  [[nodiscard]] Patterns patternsIn(std::string_view cell) const;

  std::map<std::string, Patterns, std::less<>> groups_;
  std::vector<Line> lines_;
  std::vector<PairLine> pairLines_;
};

}  // namespace vellora::faults
