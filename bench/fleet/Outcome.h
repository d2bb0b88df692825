#pragma once

#include "bench/fleet/Costs.h"
#include "bench/fleet/Day.h"
#include "bench/fleet/Scenario.h"

namespace vellora::fleet {

/// What is left of a day that was simulated: minutes in place of seconds, and sums.
///
/// Ownership: a plain value.
///
/// Units: requests, bytes and seconds of processor time per second, as means of a minute; sums of the day.
struct Outcome {
  Day::Seconds requests;
  Day::Seconds refused;
  Day::Seconds bytes;
  Day::Seconds processor;
  double allRequests = 0;
  double allRefused = 0;
  double allBytes = 0;
  double allProcessor = 0;

  // Of the busiest minute. Of the busiest second chance makes too much where agents weigh several apps, which
  // come at once then.
  [[nodiscard]] double mostRequests() const { return most(requests); }
  [[nodiscard]] double mostRefused() const { return most(refused); }
  [[nodiscard]] double mostBytes() const { return most(bytes); }
  [[nodiscard]] double mostProcessor() const { return most(processor); }

  /// The last minute from `first` on in which the server refused somebody, as minutes since `first`; 0 when
  /// it refused nobody.
  [[nodiscard]] double minutesOfRefusalFrom(double first) const;

  /// Simulates the scenario.
  [[nodiscard]] static Outcome of(const Scenario& scenario, const Costs& costs);
  [[nodiscard]] static Outcome of(const Day& day);

 private:
  [[nodiscard]] static double most(const Day::Seconds& minutes);
};

}  // namespace vellora::fleet
