#pragma once

#include <array>
#include <vector>

#include "bench/fleet/Random.h"

namespace vellora::fleet {

inline constexpr double secondsOfHour = 3600;
inline constexpr double secondsOfDay = 86400;

/// How an app is used.
///
/// Ownership: a plain value.
///
/// Units: seconds.
struct Usage {
  double startsPerDay = 4;
  double shortestRun = 5;
  double meanRun = 600;  ///< beyond the shortest
  double meanGap = 30;   ///< between two questions of a running app

  /// How many of a day's starts fall into each hour, beside the other hours: one time zone, at work.
  std::array<double, 24> starts = {1,  0.5, 0.5, 0.5, 1,  3,  10, 40, 100, 80, 60, 55,
                                   45, 55,  60,  55,  45, 35, 25, 20, 15,  10, 6,  3};
};

/// Tells when an app starts: more often in the morning than at night.
///
/// Ownership: a plain value.
///
/// Threads: safe to use from several threads at once.
///
/// Units: seconds since a midnight.
class Starts {
 public:
  explicit Starts(const Usage& usage);

  /// The first start behind `time`.
  [[nodiscard]] double after(double time, Random& random) const;

 private:
  [[nodiscard]] double expectedUntil(double time) const;
  [[nodiscard]] double timeOf(double expected) const;

  std::vector<double>
      byHour_;  // starts that are expected until the beginning of each hour, and of the next day
};

}  // namespace vellora::fleet
