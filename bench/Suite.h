#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

#include "bench/Table.h"

namespace vellora::bench {

/// What is measured and which ratios of it make the table.
///
/// Every timing is repeated, and the repetitions of all timings are shuffled among each other, so that
/// whatever else the machine does hits both sides of a ratio alike. A timing is its fastest repetition: other
/// work on the machine only ever adds to it.
class Suite {
 public:
  /// A timing; from `time`.
  struct Timing {
    std::string name;
    std::string who;
  };

  enum class Clock {
    cpu,   ///< of the timed thread: for work on one thread
    wall,  ///< for work that waits, or has several threads
  };

  struct Goal {
    enum class Kind {
      atMost,    ///< ours may take that many times as long as the other
      atLeast,   ///< ours is to be that many times as fast as the other
      reported,  ///< how many times as long ours takes is shown, and nothing asked of it
    };
    Kind kind;
    double bound = 0;
  };

  [[nodiscard]] static Goal atMost(double bound) { return {Goal::Kind::atMost, bound}; }
  [[nodiscard]] static Goal atLeast(double bound) { return {Goal::Kind::atLeast, bound}; }
  [[nodiscard]] static Goal reported() { return {Goal::Kind::reported}; }

  /// Times how `who` does `what` with `run`, the body of a Google benchmark. Each pair of texts is timed
  /// once; what `run` captures lives until the program ends.
  Timing time(const std::string& what, const std::string& who, std::function<void(benchmark::State&)> run,
              Clock clock = Clock::cpu);

  /// A line of the table about `what`: `ours` against `other`. The time of either side is divided by the
  /// units of work that one iteration of it does, so that a cost per unit can be compared between sizes.
  void compare(std::string what, Timing ours, Timing other, Goal goal, double unitsOfOurs = 1,
               double unitsOfOther = 1);

  /// A line whose value is not a time: `count` makes it after all timings have run.
  void count(std::function<Table::Line()> count);

  /// Runs everything that the flags of Google Benchmark let run, and gives the table. A line one of whose
  /// timings was filtered out is left out.
  [[nodiscard]] Table run();

 private:
  struct Comparison {
    std::string what;
    Timing ours;
    Timing other;
    Goal goal;
    double unitsOfOurs;
    double unitsOfOther;
  };

  std::vector<Comparison> comparisons_;
  std::vector<std::function<Table::Line()>> counts_;
};

}  // namespace vellora::bench
