#include "bench/Suite.h"

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

namespace vellora::bench {

namespace {

/// Keeps the fastest repetition of each timing, and prints each repetition as it comes.
class FastestOfEach final : public benchmark::ConsoleReporter {
 public:
  explicit FastestOfEach(std::map<std::string, double>& nanoseconds) : nanoseconds_(nanoseconds) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      failed_ = failed_ || run.error_occurred;
      if (run.run_type != Run::RT_Iteration || run.error_occurred || run.iterations == 0) continue;
      const bool isWall = !run.run_name.time_type.empty();
      const double total = isWall ? run.real_accumulated_time : run.cpu_accumulated_time;
      const double each = total / static_cast<double>(run.iterations) * 1e9;
      const auto [entry, isFirst] = nanoseconds_.emplace(run.run_name.function_name, each);
      if (!isFirst) entry->second = std::min(entry->second, each);
    }
    ConsoleReporter::ReportRuns(runs);
  }

  [[nodiscard]] bool failed() const { return failed_; }

 private:
  std::map<std::string, double>& nanoseconds_;
  bool failed_ = false;
};

/// A regular expression that matches just this text.
std::string asPattern(std::string_view text) {
  constexpr std::string_view special = R"(.[{()\*+?|^$)";
  std::string pattern;
  for (const char c : text) {
    if (special.find(c) != special.npos) pattern += '\\';
    pattern += c;
  }
  return pattern;
}

}  // namespace

Suite::Timing Suite::time(const std::string& what, const std::string& who,
                          std::function<void(benchmark::State&)> run, Clock clock) {
  const std::string name = what + ", " + who;
  auto* registered = benchmark::RegisterBenchmark(name.c_str(), std::move(run));
  if (clock == Clock::wall) registered->UseRealTime();
  // The pauses would make a timing take half an hour that is as long as the others'.
  if (clock == Clock::rested) registered->UseManualTime()->MinTime(0.01);
  return {name, who};
}

void Suite::compare(std::string what, Timing ours, Timing other, Goal goal, double unitsOfOurs,
                    double unitsOfOther) {
  comparisons_.push_back(
      {std::move(what), std::move(ours), std::move(other), goal, unitsOfOurs, unitsOfOther});
}

void Suite::count(std::function<Table::Line()> count) {
  counts_.push_back(std::move(count));
}

std::optional<Table::Line> Suite::line(const Comparison& comparison, const Nanoseconds& nanoseconds) {
  const auto ours = nanoseconds.find(comparison.ours.name);
  const auto other = nanoseconds.find(comparison.other.name);
  if (ours == nanoseconds.end() || other == nanoseconds.end()) return std::nullopt;
  const double left = ours->second / comparison.unitsOfOurs;
  const double right = other->second / comparison.unitsOfOther;
  using Kind = Goal::Kind;
  const bool isSpeed = comparison.goal.kind == Kind::atLeast;
  return Table::Line{
      .what = comparison.what,
      .ours = Table::time(left),
      .against = comparison.other.who + ", " + Table::time(right),
      .ratio = isSpeed ? right / left : left / right,
      .bound = comparison.goal.kind == Kind::reported ? std::nullopt : std::optional(comparison.goal.bound),
      .isLowerBound = isSpeed,
      .accepted = comparison.goal.accepted};
}

Table Suite::run(int furtherRounds) {
  std::vector<std::optional<Table::Line>> lines(comparisons_.size());
  Table table;
  std::string filter;
  for (int round = 0; round <= furtherRounds; ++round) {
    Nanoseconds nanoseconds;
    FastestOfEach reporter(nanoseconds);
    reporter.SetOutputStream(&std::cerr);
    reporter.SetErrorStream(&std::cerr);
    if (round == 0) {
      benchmark::RunSpecifiedBenchmarks(&reporter);
    } else {
      benchmark::RunSpecifiedBenchmarks(&reporter, filter);
    }
    if (reporter.failed()) table.noteFailure();
    std::string missed;
    for (std::size_t at = 0; at < lines.size(); ++at) {
      if (lines[at] && lines[at]->isKept()) continue;
      if (auto measured = line(comparisons_[at], nanoseconds)) lines[at] = std::move(measured);
      if (!lines[at] || lines[at]->isKept()) continue;
      for (const auto& timing : {comparisons_[at].ours, comparisons_[at].other}) {
        missed.append(missed.empty() ? "" : "|").append(asPattern(timing.name));
      }
    }
    if (missed.empty()) break;
    filter = "^(" + missed + ")(/|$)";
  }
  for (auto& measured : lines) {
    if (measured) table.add(*std::move(measured));
  }
  for (const auto& count : counts_) table.add(count());
  return table;
}

}  // namespace vellora::bench
