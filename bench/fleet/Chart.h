#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace vellora::fleet {

/// A picture of up to four curves over hours of a day, as SVG. The curves differ in their lightness and their
/// dashes, so that they are told apart in grey as well.
///
/// Ownership: a plain value.
struct Chart {
  struct Curve {
    std::string name;
    std::vector<double> minutes;  ///< a value for each minute of the day
  };

  std::string title;
  std::string unit;  ///< of the values
  double fromHour = 0;
  double toHour = 24;
  std::size_t minutesOfPoint = 1;  ///< each point of a curve is the mean of so many minutes
  /// Each line of the grid stands for ten times the one below, of four at most. What is less lies on the
  /// lowest.
  bool isLogarithmic = false;
  std::vector<Curve> curves;

  [[nodiscard]] std::string svg() const;
};

}  // namespace vellora::fleet
