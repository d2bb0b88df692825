#include "tests/faults/OutcomeTable.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <set>
#include <sstream>
#include <utility>

namespace vellora::faults {

namespace {

std::string trimmed(std::string_view text) {
  const auto begin = text.find_first_not_of(' ');
  if (begin == std::string_view::npos) return "";
  return std::string(text.substr(begin, text.find_last_not_of(' ') - begin + 1));
}

std::vector<std::string> split(std::string_view text, std::string_view separator) {
  std::vector<std::string> parts;
  for (std::size_t end = 0; end != std::string_view::npos;) {
    end = text.find(separator);
    parts.push_back(trimmed(text.substr(0, end)));
    if (end != std::string_view::npos) text.remove_prefix(end + separator.size());
  }
  return parts;
}

/// Whether `text` is `pattern`, in which a "*" stands for any text.
bool fits(std::string_view pattern, std::string_view text) {
  const auto star = pattern.find('*');
  if (star == std::string_view::npos) return pattern == text;
  if (!text.starts_with(pattern.substr(0, star))) return false;
  const auto rest = pattern.substr(star + 1);
  for (std::size_t at = star; at <= text.size(); ++at) {
    if (fits(rest, text.substr(at))) return true;
  }
  return false;
}

bool fitsAny(const std::vector<std::string>& patterns, std::string_view text) {
  return std::any_of(patterns.begin(), patterns.end(),
                     [&](const std::string& pattern) { return fits(pattern, text); });
}

/// Whether `answer` fits one of `patterns`. A pattern for one delivery does not fit an answer of several.
bool fitsDeliveries(const std::vector<std::string>& patterns, const std::string& answer) {
  const auto count = [](const std::string& text) { return split(text, ", then ").size(); };
  return std::any_of(patterns.begin(), patterns.end(), [&](const std::string& pattern) {
    return fits(pattern, answer) && count(pattern) == count(answer);
  });
}

std::string_view nameOf(testkit::HostFaults::Lasting lasting) {
  return lasting == testkit::HostFaults::Lasting::once ? "once" : "then on";
}

/// How much of an answer is left: all, some entries, nothing or no answer.
enum class Harm { none, partial, total };

Harm harmOf(const std::string& answer) {
  if (answer == "right") return Harm::none;
  const bool total = answer == "never" || answer.starts_with("empty") || answer.starts_with("fails");
  return total ? Harm::total : Harm::partial;
}

/// What is wrong with an answer, entry by entry, such as "no Account" and "Contact = Account".
std::set<std::string> wrongsOf(const std::string& answer) {
  const auto parts = split(answer, ", ");
  return {parts.begin(), parts.end()};
}

/// An answer in which all is wrong that is wrong with either.
std::string merged(const std::string& first, const std::string& second) {
  auto wrongs = wrongsOf(first);
  wrongs.merge(wrongsOf(second));
  std::string all;
  for (const auto& wrong : wrongs) all.append(all.empty() ? "" : ", ").append(wrong);
  return all;
}

bool sameWrongs(const std::string& left, const std::string& right) {
  return wrongsOf(left) == wrongsOf(right);
}

bool predicted(const std::string& first, const std::string& second, const std::string& actual) {
  const Harm harm = std::max(harmOf(first), harmOf(second));
  if (harmOf(first) != harmOf(second)) return actual == (harmOf(first) == harm ? first : second);
  if (harm == Harm::partial) return sameWrongs(actual, merged(first, second));
  return actual == first || actual == second;
}

[[noreturn]] void refuse(const std::string& line, const std::string& why) {
  std::cerr << "outcomes.txt: " << why << ": " << line << '\n';
  std::abort();
}

}  // namespace

std::string NamedFault::description() const {
  return call + ": " + std::string(describe(fault)) + ", " + std::string(nameOf(lasting));
}

OutcomeTable::OutcomeTable(const std::string& text) {
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    if (line.empty() || line.starts_with('#')) continue;
    const auto cells = split(line, "|");
    if (line.starts_with("group ")) {
      const auto sides = split(line.substr(6), "=");
      if (sides.size() != 2) refuse(line, "a group needs a name, \"=\" and its members");
      groups_[sides[0]] = patternsIn(sides[1]);
    } else if (cells.size() == 7) {
      lines_.push_back({.operations = patternsIn(cells[0]),
                        .states = patternsIn(cells[1]),
                        .calls = patternsIn(cells[2]),
                        .faults = patternsIn(cells[3]),
                        .lastings = patternsIn(cells[4]),
                        .outcome = {cells[5], cells[6].empty() ? "right" : cells[6]}});
    } else if (cells.size() == 6 && cells[0] == "pair") {
      pairLines_.push_back({.operations = patternsIn(cells[1]),
                            .firstFaults = patternsIn(cells[2]),
                            .secondFaults = patternsIn(cells[3]),
                            .answers = split(cells[4], ";"),
                            .afterwards = split(cells[5], ";")});
    } else {
      refuse(line, "a line has seven cells, one about pairs six");
    }
  }
}

OutcomeTable::Patterns OutcomeTable::patternsIn(std::string_view cell) const {
  Patterns patterns;
  for (const auto& part : split(cell, ",")) {
    const auto group = groups_.find(part);
    if (group == groups_.end()) {
      patterns.push_back(part);
    } else {
      patterns.insert(patterns.end(), group->second.begin(), group->second.end());
    }
  }
  return patterns;
}

std::optional<std::size_t> OutcomeTable::decidingLine(const std::string& operation, const std::string& state,
                                                      const NamedFault& fault) const {
  const auto found = std::find_if(lines_.rbegin(), lines_.rend(), [&](const Line& line) {
    return fitsAny(line.operations, operation) && fitsAny(line.states, state) &&
           fitsAny(line.calls, fault.call) && fitsAny(line.faults, describe(fault.fault)) &&
           fitsAny(line.lastings, nameOf(fault.lasting));
  });
  if (found == lines_.rend()) return std::nullopt;
  return static_cast<std::size_t>(lines_.rend() - found) - 1;
}

Outcome OutcomeTable::expected(const std::string& operation, const std::string& state,
                               const NamedFault& fault) const {
  const auto line = decidingLine(operation, state, fault);
  return line ? lines_[*line].outcome : Outcome{"right", "right"};
}

bool OutcomeTable::allows(const std::string& operation, const std::string& state, const NamedFault& first,
                          const NamedFault& second, const Outcome& actual) const {
  const auto one = expected(operation, state, first);
  const auto other = expected(operation, state, second);
  const bool answerPredicted = predicted(one.answer, other.answer, actual.answer);
  const bool afterwardsPredicted = actual.afterwards == "right" || actual.afterwards == one.afterwards ||
                                   actual.afterwards == other.afterwards;
  if (answerPredicted && afterwardsPredicted) return true;
  return std::any_of(pairLines_.begin(), pairLines_.end(), [&](const PairLine& line) {
    return fitsAny(line.operations, operation) && fitsAny(line.firstFaults, describe(first.fault)) &&
           fitsAny(line.secondFaults, describe(second.fault)) &&
           (answerPredicted || fitsDeliveries(line.answers, actual.answer)) &&
           (afterwardsPredicted || fitsAny(line.afterwards, actual.afterwards));
  });
}

}  // namespace vellora::faults
