#pragma once

#include <array>
#include <cstdint>
#include <limits>

#include "bench/fleet/Costs.h"

namespace vellora::fleet {

/// One app, or several that do the same at the same moments; or the machines of a service that share a cache.
///
/// Ownership: a plain value.
///
/// Units: seconds since the midnight of the day that counts.
struct Agent {
  static constexpr double never = -std::numeric_limits<double>::infinity();

  /// What an app knows of a list.
  struct List {
    double fetched = never;
    double begun = 0;          ///< when its fetch began
    std::uint8_t attempt = 0;  ///< of the fetch that is under way; 0 when none is
    bool isKept = false;       ///< there is a body that a conditional request can speak of

    [[nodiscard]] bool isUnderWay() const { return attempt > 0; }
  };

  std::array<List, listCount> lists = {};
  double end = never;         ///< of the run; the app doesn't run behind it
  double timeout = 0;         ///< of this run
  double quietUntil = never;  ///< where it backs off
  std::uint32_t run = 0;
  std::uint32_t question = 0;  ///< the number of the question that is awaited
  std::uint8_t refusals = 0;   ///< in a row, where it backs off
  bool isMachine = false;
  bool isUpdated = false;  ///< runs the new version

  [[nodiscard]] bool runsAt(double time) const { return time < end; }
  [[nodiscard]] bool isExpired(const List& list, double time) const { return time - list.fetched > timeout; }

  /// Forgets what the cache holds, and the bodies beside it.
  void empty() { lists = {}; }
};

}  // namespace vellora::fleet
