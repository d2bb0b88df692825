#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace vellora::bench {

/// The table of ratios, and whether each of them meets its goal.
class Table {
 public:
  struct Line {
    std::string what;
    std::string ours;     ///< as it is shown, with its unit; empty when it could not be measured
    std::string against;  ///< what ours is compared with, and its value
    std::optional<double> ratio = {};
    std::optional<double> bound = {};  ///< absent: nothing is asked
    bool isLowerBound = false;         ///< the ratio is to be at least the bound, not at most
    /// What a goal that is known to be missed is held to, as far on the same side; docs/performance.md says
    /// why it is missed.
    std::optional<double> accepted = {};
    std::vector<std::string> details = {};

    /// Whether the goal is met or missed by no more than is accepted.
    [[nodiscard]] bool isKept() const;
  };

  void add(Line line);

  /// Notes that something could not be measured: from then on nothing counts as kept.
  void noteFailure() { failed_ = true; }

  [[nodiscard]] bool isMeasured() const { return !failed_; }

  /// Whether everything was measured, and every goal is met or missed by no more than is accepted.
  [[nodiscard]] bool isKept() const;

  /// Prints aligned text that is also a Markdown table, and the details below it as a list.
  void print(std::ostream& out) const;

  /// Nanoseconds as a text with a unit that a person reads easily, such as "1.25 ms".
  [[nodiscard]] static std::string time(double nanoseconds);

  /// Bytes in KB or MB of 1,000 and 1,000,000 bytes.
  [[nodiscard]] static std::string size(double bytes);

 private:
  std::vector<Line> lines_;
  bool failed_ = false;
};

}  // namespace vellora::bench
