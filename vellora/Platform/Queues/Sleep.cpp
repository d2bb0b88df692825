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
  const Moment from = now();
  // What is long over may lie further back than a difference can say.
  const auto left = until > from ? std::chrono::ceil<milliseconds>(until - from) : milliseconds(0);
  poll(static_cast<int>(std::min(left, longest).count()));
}

}  // namespace vellora
