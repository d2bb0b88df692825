#pragma once

#include <optional>

#include "bench/fleet/Costs.h"
#include "bench/fleet/Day.h"
#include "bench/fleet/Scenario.h"

namespace vellora::fleet {

/// The server: answers in the order in which requests come, as fast as its processors and its line allow.
///
/// It works like one processor that is as fast as all of them: a single answer is there sooner than from real
/// ones, which only matters where few requests keep it busy.
///
/// What stands before it refuses what it cannot serve, so that a refusal costs it nothing.
///
/// Ownership: owns what it notes of the day.
///
/// Threads: one at a time.
///
/// Units: seconds since the midnight of the day that counts; earlier ones are negative.
class Server {
 public:
  struct Answer {
    double time = 0;
    bool isRefused = false;
  };

  /// How long a request and its answer travel.
  static constexpr double travel = 0.05;

  Server(Capacity capacity, std::optional<Span> outage, Cost refusal)
      : capacity_(capacity), outage_(outage), refusal_(refusal) {}

  /// Answers what `weight` apps ask at that moment, which is no earlier than the last.
  [[nodiscard]] Answer take(double time, const Cost& cost, double weight);

  [[nodiscard]] const Day& day() const { return day_; }

 private:
  [[nodiscard]] bool refuses(double time) const;
  void work(double time, const Cost& cost, double weight);

  const Capacity capacity_;
  const std::optional<Span> outage_;
  const Cost refusal_;
  double processorsFree_ = -1e9;  // when the processors are done with what has come so far
  double lineFree_ = -1e9;        // the same of the line
  Day day_;
};

}  // namespace vellora::fleet
