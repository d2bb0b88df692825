#include "vellora/Platform/Queues/TimedQueue.h"

#include <algorithm>
#include <cmath>

#include "vellora/Platform/Queues/SystemTimedQueue.h"

namespace vellora {

namespace {

constexpr TimedQueue::Delay longest = std::chrono::hours(24 * 365);

}  // namespace

TimedQueue::Delay TimedQueue::bounded(Delay delay) {
  if (std::isnan(delay.count())) return longest;
  return std::clamp(delay, Delay::zero(), longest);
}

const std::shared_ptr<TimedQueue>& TimedQueue::system() {
  // Never destroyed: its thread may run while the process ends.
  static const auto* const queue =
      new std::shared_ptr<TimedQueue>(std::make_shared<detail::SystemTimedQueue>());  // NOLINT: see above
  return *queue;
}

}  // namespace vellora
