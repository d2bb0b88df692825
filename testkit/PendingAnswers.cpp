#include "testkit/PendingAnswers.h"

#include <utility>

namespace vellora::testkit {

using Delivery = StubAnswer::Delivery;

std::vector<PendingAnswers::Pending> PendingAnswers::keep(Pending pending) {
  std::vector<Pending> immediate;
  const std::lock_guard lock(mutex_);
  const Delivery delivery = pending.answer.delivery();
  auto& place = delivery == Delivery::held ? held_ : delivery == Delivery::never ? hanging_ : immediate;
  place.push_back(std::move(pending));
  return immediate;
}

std::vector<PendingAnswers::Pending> PendingAnswers::takeOldest() {
  bool taken = false;
  return takeIf([&taken](const Pending&) { return !std::exchange(taken, true); });
}

std::vector<PendingAnswers::Pending> PendingAnswers::take(std::string_view url) {
  return takeIf([url](const Pending& pending) { return pending.url == url; });
}

std::vector<PendingAnswers::Pending> PendingAnswers::takeAll() {
  return takeIf([](const Pending&) { return true; });
}

std::size_t PendingAnswers::held() const {
  const std::lock_guard lock(mutex_);
  return held_.size();
}

std::size_t PendingAnswers::deliver(std::vector<Pending> pending) {
  for (Pending& each : pending) {
    const Pending one = std::move(each);
    one.completion(one.answer.data(), one.answer.error(), one.answer.response());
  }
  return pending.size();
}

std::vector<PendingAnswers::Pending> PendingAnswers::takeIf(
    const std::function<bool(const Pending&)>& wanted) {
  std::vector<Pending> taken;
  std::vector<Pending> left;
  const std::lock_guard lock(mutex_);
  for (Pending& pending : held_) (wanted(pending) ? taken : left).push_back(std::move(pending));
  held_ = std::move(left);
  return taken;
}

}  // namespace vellora::testkit
