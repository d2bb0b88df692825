#include "bench/Suite.h"

#include <algorithm>
#include <iostream>
#include <map>
#include <optional>
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

Table Suite::run() {
  std::map<std::string, double> nanoseconds;
  FastestOfEach reporter(nanoseconds);
  reporter.SetOutputStream(&std::cerr);
  reporter.SetErrorStream(&std::cerr);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  Table table;
  for (const auto& comparison : comparisons_) {
    const auto ours = nanoseconds.find(comparison.ours.name);
    const auto other = nanoseconds.find(comparison.other.name);
    if (ours == nanoseconds.end() || other == nanoseconds.end()) continue;
    const double left = ours->second / comparison.unitsOfOurs;
    const double right = other->second / comparison.unitsOfOther;
    using Kind = Goal::Kind;
    const bool isSpeed = comparison.goal.kind == Kind::atLeast;
    table.add({.what = comparison.what,
               .ours = Table::time(left),
               .against = comparison.other.who + ", " + Table::time(right),
               .ratio = isSpeed ? right / left : left / right,
               .bound = comparison.goal.kind == Kind::reported ? std::nullopt
                                                               : std::optional(comparison.goal.bound),
               .isLowerBound = isSpeed,
               .accepted = comparison.goal.accepted});
  }
  for (const auto& count : counts_) table.add(count());
  if (reporter.failed()) table.noteFailure();
  return table;
}

}  // namespace vellora::bench
