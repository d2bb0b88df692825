#include "bench/fleet/Usage.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>

namespace vellora::fleet {

Starts::Starts(const Usage& usage) : byHour_{0} {
  const double sum = std::accumulate(usage.starts.begin(), usage.starts.end(), 0.0);
  for (const double share : usage.starts)
    byHour_.push_back(byHour_.back() + share / sum * usage.startsPerDay);
}

/// Chance decides on the number of starts until then, and the day's course on when that number is reached.
double Starts::after(double time, Random& random) const {
  return timeOf(expectedUntil(time) + random.wait(1));
}

double Starts::expectedUntil(double time) const {
  const double day = std::floor(time / secondsOfDay);
  const double hours = (time - day * secondsOfDay) / secondsOfHour;
  const auto hour = std::min(static_cast<std::size_t>(hours), byHour_.size() - 2);
  const double within = hours - static_cast<double>(hour);
  return day * byHour_.back() + byHour_[hour] + within * (byHour_[hour + 1] - byHour_[hour]);
}

double Starts::timeOf(double expected) const {
  const double day = std::floor(expected / byHour_.back());
  const double rest = expected - day * byHour_.back();
  const auto later = std::upper_bound(byHour_.begin() + 1, byHour_.end() - 1, rest);
  const double within = (rest - *(later - 1)) / (*later - *(later - 1));
  return day * secondsOfDay + (static_cast<double>(later - byHour_.begin()) - 1 + within) * secondsOfHour;
}

}  // namespace vellora::fleet
