#include "vellora/Platform/Queues/Sleep.h"

#include <algorithm>
#include <limits>

namespace vellora {

Sleep::Moment Sleep::now() {
  return Clock::now();
}

void Sleep::on(std::condition_variable& condition, std::unique_lock<std::mutex>& lock, Moment until) {
  if (until == never) return condition.wait(lock);
  condition.wait_until(lock, until);
}

void Sleep::in(const std::function<void(int milliseconds)>& poll, Moment until) {
  using std::chrono::milliseconds;
  constexpr milliseconds longest(std::numeric_limits<int>::max());
  const auto left = std::chrono::ceil<milliseconds>(until - now());
  poll(static_cast<int>(std::clamp(left, milliseconds(0), longest).count()));
}

}  // namespace vellora
