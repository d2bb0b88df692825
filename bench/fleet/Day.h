#pragma once

#include <cstddef>
#include <vector>

#include "bench/fleet/Costs.h"

namespace vellora::fleet {

/// What the server had to do in each second of a day.
///
/// Ownership: a plain value.
///
/// Units: requests; bytes in both directions; seconds of processor time. All for the whole fleet.
class Day {
 public:
  using Seconds = std::vector<double>;

  Day();

  /// A request came at that second, weighing so many of its kind. One out of the day is not counted.
  void add(double second, const Cost& cost, double weight, bool isRefused);

  [[nodiscard]] const Seconds& requests() const { return requests_; }
  [[nodiscard]] const Seconds& refused() const { return refused_; }
  [[nodiscard]] const Seconds& bytes() const { return bytes_; }
  [[nodiscard]] const Seconds& processor() const { return processor_; }

 private:
  Seconds requests_;
  Seconds refused_;
  Seconds bytes_;
  Seconds processor_;
};

/// The sum of all seconds.
[[nodiscard]] double sum(const Day::Seconds& seconds);

/// The mean of a second in each of the day's minutes.
[[nodiscard]] Day::Seconds byMinute(const Day::Seconds& seconds);

}  // namespace vellora::fleet
