#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "bench/fleet/Event.h"

namespace vellora::fleet {

/// What is still to happen, the earliest first; of what happens at the same moment, what was added first.
///
/// The events of one second wait together, unordered, until that second has come. So an event costs the same
/// whether a thousand wait or ten million.
///
/// Ownership: owns its events.
///
/// Threads: one at a time.
///
/// Errors: an event at or behind the end is dropped: nobody sees it happen. One that is added for a moment
/// which has passed happens next.
///
/// Units: seconds since the beginning.
class EventQueue {
 public:
  explicit EventQueue(std::size_t seconds) : waiting_(seconds) {}

  void add(Event event);

  /// Takes the next event out; none when nothing is left.
  [[nodiscard]] std::optional<Event> next();

 private:
  std::vector<std::vector<Event>> waiting_;  // by second; those of the current one as a heap
  std::size_t second_ = 0;
  std::uint64_t added_ = 0;
};

}  // namespace vellora::fleet
