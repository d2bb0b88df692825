#pragma once

#include <compare>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include "bench/fleet/Costs.h"
#include "bench/fleet/Outcome.h"
#include "bench/fleet/Scenario.h"

namespace vellora::fleet {

/// Which days are simulated for docs/scale.md, and what came of each. A day is simulated when it is first
/// asked for.
///
/// Ownership: owns the outcomes.
///
/// Threads: one at a time.
class Study {
 public:
  enum class Course { ordinary, release, outage, weekLater };

  /// On the day that is a week later, the release was at that hour of the day seven days before.
  static constexpr double releaseAt = 10 * secondsOfHour;
  static constexpr Span outage{11 * secondsOfHour, 12 * secondsOfHour};

  struct Variant {
    Course course = Course::ordinary;
    double apps = 10e6;
    double timeout = secondsOfHour;
    std::string manners = "none";  ///< one of `allManners`
    bool isLimited = false;        ///< by a server for one and a half times an ordinary day's busiest minute

    [[nodiscard]] auto operator<=>(const Variant&) const = default;
  };

  /// Says on `progress` which day is simulated. No fleet has more agents than `mostAgents`.
  Study(Costs costs, std::uint64_t seed, std::ostream& progress, double mostAgents = Scenario().mostAgents);

  [[nodiscard]] const Outcome& outcome(const Variant& variant);

  /// What a variant means.
  [[nodiscard]] Scenario scenario(const Variant& variant);

  /// The server of the limited variants with that time-out.
  [[nodiscard]] Capacity limit(double apps, double timeout);

  [[nodiscard]] const Costs& costs() const { return costs_; }
  [[nodiscard]] double mostAgents() const { return mostAgents_; }

  [[nodiscard]] static const std::vector<std::string>& allManners();

 private:
  const Costs costs_;
  const std::uint64_t seed_;
  const double mostAgents_;
  std::ostream& progress_;
  std::map<Variant, Outcome> outcomes_;
};

[[nodiscard]] std::string nameOf(Study::Course course);

}  // namespace vellora::fleet
