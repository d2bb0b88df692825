#include "bench/fleet/Outcome.h"

#include <algorithm>
#include <cstddef>

#include "bench/fleet/Fleet.h"

namespace vellora::fleet {

double Outcome::minutesOfRefusalFrom(double first) const {
  const auto from = static_cast<std::size_t>(first / 60);
  double minutes = 0;
  for (std::size_t minute = from; minute < refused.size(); ++minute)
    if (refused[minute] > 0) minutes = static_cast<double>(minute - from + 1);
  return minutes;
}

double Outcome::most(const Day::Seconds& minutes) {
  return minutes.empty() ? 0 : *std::max_element(minutes.begin(), minutes.end());
}

Outcome Outcome::of(const Scenario& scenario, const Costs& costs) {
  return of(Fleet(scenario, costs).run());
}

Outcome Outcome::of(const Day& day) {
  return {byMinute(day.requests()), byMinute(day.refused()), byMinute(day.bytes()), byMinute(day.processor()),
          sum(day.requests()),      sum(day.refused()),      sum(day.bytes()),      sum(day.processor())};
}

}  // namespace vellora::fleet
