#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace vellora::bench {

/// The table of ratios and whether each keeps its goal.
class Table {
 public:
  struct Line {
    std::string what;
    std::string ours;     ///< as it is shown, with its unit
    std::string against;  ///< what ours is compared with, and its value
    std::optional<double> ratio = {};
    std::optional<double> bound = {};  ///< absent: nothing is asked
    bool isLowerBound = false;         ///< the ratio is to be at least the bound, not at most
    std::vector<std::string> details = {};
  };

  void add(Line line) { lines_.push_back(std::move(line)); }

  /// Something could not be measured: no goal counts as met.
  void noteFailure() { failed_ = true; }

  [[nodiscard]] bool isMeasured() const { return !failed_; }

  /// Whether everything was measured and every goal is met.
  [[nodiscard]] bool isMet() const;

  /// Aligned text that is also a Markdown table; the details follow as a list.
  void print(std::ostream& out) const;

  /// Nanoseconds in the unit in which a person reads them.
  [[nodiscard]] static std::string time(double nanoseconds);

  /// Bytes in KB or MB of 1,000 and 1,000,000 bytes.
  [[nodiscard]] static std::string size(double bytes);

 private:
  std::vector<Line> lines_;
  bool failed_ = false;
};

}  // namespace vellora::bench
