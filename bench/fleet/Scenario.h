#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include "bench/fleet/Usage.h"
#include "vellora/Catalog/QuestionOptions.h"
#include "vellora/Catalog/RetryOptions.h"

namespace vellora::fleet {

/// From a moment up to, but not including, another; in seconds since the midnight of the day that counts.
struct Span {
  double from = 0;
  double to = 0;

  [[nodiscard]] bool contains(double time) const { return from <= time && time < to; }
};

/// What the host does to spare the server, beyond what the library does by itself.
struct Manners {
  bool conditional = false;  ///< a list that an app has is asked for on condition that it has changed
  bool spread = false;       ///< the time-out of each start is drawn from ±10 %
  bool backsOff = false;     ///< after a 503 nothing is sent for a while, longer each time
  bool shares = false;       ///< the machines of one service share a cache, and fetch each list once
  bool packed = false;       ///< the server packs the lists
};

/// What the server can do. What would have to wait for longer than it lets anybody wait is refused.
///
/// Units: processors; bytes per second; seconds.
struct Capacity {
  double processors = std::numeric_limits<double>::infinity();
  double bandwidth = std::numeric_limits<double>::infinity();
  double longestWait = 5;
};

/// A fleet, its day, and what happens on that day.
///
/// Ownership: a plain value.
///
/// Units: seconds; moments since the midnight of the day that counts.
struct Scenario {
  double apps = 10'000;           ///< the whole fleet, services' machines included
  double shareOfMachines = 0.02;  ///< those that belong to services, and always run
  std::size_t machinesPerService = 8;
  double meanGapOfMachines = 5;  ///< between two questions of one machine

  /// How many agents stand for the fleet at most. Where it is larger, each agent weighs several apps.
  double mostAgents = 100'000;

  double timeout = 3600;
  Manners manners = {};
  Capacity capacity = {};
  Usage usage = {};

  RetryOptions retry = {};                               ///< its jitter is the simulation's
  double patience = QuestionOptions().deadline.count();  ///< behind that nothing is sent again
  double retryAfter = 0;                                 ///< what a refusal asks for; 0 where it says nothing

  /// When a new version comes out, which begins with an empty cache; it may be on one of the days before.
  std::optional<double> release = {};
  double takingUp = 300;            ///< how long running apps take to restart with it
  std::optional<Span> outage = {};  ///< all requests are refused then

  int daysBefore = 1;        ///< that are simulated and not counted, so that the caches are as on any day
  bool beginsFilled = true;  ///< with caches of any age; false: without any

  std::uint64_t seed = 1;
};

}  // namespace vellora::fleet
