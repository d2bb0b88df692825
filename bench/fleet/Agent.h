#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "bench/fleet/Costs.h"
#include "bench/fleet/Usage.h"
#include "hostkit/network/ServerPause.h"

namespace vellora::fleet {

/// One app, or several that do the same at the same moments.
///
/// Ownership: a plain value.
///
/// Units: seconds since the midnight of the day that counts.
struct Agent {
  static constexpr double never = -std::numeric_limits<double>::infinity();

  /// How long the host keeps a body, however often the server has confirmed it.
  static constexpr double keptFor = 7 * secondsOfDay;

  /// What an app knows of a list.
  struct List {
    double fetched = never;
    double came = never;       ///< when the body that is kept came; a confirmation doesn't count
    double begun = 0;          ///< when its fetch began
    double sent = 0;           ///< when its last request was sent
    std::uint8_t attempt = 0;  ///< of the fetch that is under way; 0 when none is
    bool isSent = false;       ///< the answer to its request is awaited
    bool waits = false;        ///< another machine of the service asks for it

    [[nodiscard]] bool isUnderWay() const { return attempt > 0; }

    /// Whether there is a body that a conditional request can speak of.
    [[nodiscard]] bool isKept(double time) const { return time - came <= keptFor; }

    /// Ends the fetch, with or without the list.
    void end() {
      attempt = 0;
      isSent = waits = false;
    }
  };

  std::array<List, listCount> lists = {};
  double end = never;          ///< of the run; the app doesn't run behind it
  double timeout = 0;          ///< of this run
  hostkit::ServerPause pause;  ///< of this run, where it backs off
  std::uint32_t run = 0;
  std::uint32_t question = 0;  ///< the number of the question that is awaited
  // The agents with which it shares a cache: from the first up to, but not including, the second.
  std::uint32_t firstOfCache = 0;
  std::uint32_t endOfCache = 0;
  bool isMachine = false;
  bool isUpdated = false;  ///< runs the new version

  [[nodiscard]] bool runsAt(double time) const { return time < end; }
  [[nodiscard]] bool isExpired(const List& list, double time) const { return time - list.fetched > timeout; }

  /// Forgets what the cache holds, and the bodies beside it.
  void empty() { lists = {}; }

  /// Finds in its cache what another finds in its own.
  void takeCacheOf(const Agent& other) {
    for (std::size_t which = 0; which < listCount; ++which) {
      lists[which].fetched = other.lists[which].fetched;
      lists[which].came = other.lists[which].came;
    }
  }
};

}  // namespace vellora::fleet
