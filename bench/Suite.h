#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "bench/Table.h"

namespace vellora::bench {

/// Collects what is to be measured and which ratios make the table, then measures it.
///
/// Every timing is repeated. The repetitions of all timings are shuffled, so that other work on the machine
/// slows both sides of a ratio alike. The fastest repetition counts, because other work can only make one
/// slower.
///
/// Lines that compare two timings and miss what they are held to are measured anew, without the others.
/// Between all others, minutes lie between the repetitions of one side, and a machine's fast moments may
/// come to the other side alone.
class Suite {
 public:
  /// A timing; from `time`.
  struct Timing {
    std::string name;
    std::string who;
  };

  enum class Clock {
    cpu,     ///< of the timed thread: for work on one thread
    wall,    ///< for work that waits, or has several threads
    rested,  ///< as `runRested` takes it: for work that wakes threads, as an app's questions do
  };

  struct Goal {
    enum class Kind {
      atMost,    ///< ours may take that many times as long as the other
      atLeast,   ///< ours is to be that many times as fast as the other
      reported,  ///< how many times as long ours takes is shown, and nothing asked of it
    };
    Kind kind;
    double bound = 0;
    std::optional<double> accepted = {};  ///< see `Table::Line`
  };

  [[nodiscard]] static Goal atMost(double bound, std::optional<double> accepted = {}) {
    return {Goal::Kind::atMost, bound, accepted};
  }
  [[nodiscard]] static Goal atLeast(double bound, std::optional<double> accepted = {}) {
    return {Goal::Kind::atLeast, bound, accepted};
  }
  [[nodiscard]] static Goal reported() { return {Goal::Kind::reported}; }

  /// Times `run`, the body of a Google benchmark, which does `what` as `who` does it. Each pair of `what` and
  /// `who` is timed once. What `run` captures lives until the program ends.
  Timing time(const std::string& what, const std::string& who, std::function<void(benchmark::State&)> run,
              Clock clock = Clock::cpu);

  /// A line of the table about `what`: `ours` against `other`. The time of either side is divided by the
  /// units of work that one iteration of it does, so that a cost per unit can be compared between sizes.
  void compare(std::string what, Timing ours, Timing other, Goal goal, double unitsOfOurs = 1,
               double unitsOfOther = 1);

  /// A line that repeating a timing does not give: `count` makes it after all timings have run.
  void count(std::function<Table::Line()> count);

  /// Runs everything that the flags of Google Benchmark select, then up to `furtherRounds` times what misses,
  /// and returns the table. A line is of the last round that it was measured in. It is left out when one of
  /// its two timings was not selected.
  [[nodiscard]] Table run(int furtherRounds);

 private:
  struct Comparison {
    std::string what;
    Timing ours;
    Timing other;
    Goal goal;
    double unitsOfOurs;
    double unitsOfOther;
  };

  /// Of each timing, by its name, the fastest repetition.
  using Nanoseconds = std::map<std::string, double>;

  [[nodiscard]] static std::optional<Table::Line> line(const Comparison& comparison,
                                                       const Nanoseconds& nanoseconds);

  std::vector<Comparison> comparisons_;
  std::vector<std::function<Table::Line()>> counts_;
};

/// Runs `once` for each iteration of a timing by `Clock::rested`, each time after a pause in which all
/// threads fall asleep, and times only `once`. Without the pause, which of them is still awake decides what a
/// hop takes.
template <class Once>
void runRested(benchmark::State& state, Once once) {
  for (auto _ : state) {
    std::this_thread::sleep_for(std::chrono::microseconds(500));
    const auto begun = std::chrono::steady_clock::now();
    once();
    state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count());
  }
}

}  // namespace vellora::bench
