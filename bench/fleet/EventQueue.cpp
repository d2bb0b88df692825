#include "bench/fleet/EventQueue.h"

#include <algorithm>

namespace vellora::fleet {

namespace {

bool isLater(const Event& left, const Event& right) {
  return left.time != right.time ? left.time > right.time : left.order > right.order;
}

}  // namespace

void EventQueue::add(Event event) {
  if (event.time >= static_cast<double>(waiting_.size())) return;
  event.order = added_++;
  const auto second = std::max(static_cast<std::size_t>(std::max(event.time, 0.0)), second_);
  if (second >= waiting_.size()) return;
  auto& events = waiting_[second];
  events.push_back(event);
  if (second == second_) std::push_heap(events.begin(), events.end(), isLater);
}

std::optional<Event> EventQueue::next() {
  while (second_ < waiting_.size() && waiting_[second_].empty()) {
    waiting_[second_].shrink_to_fit();
    if (++second_ < waiting_.size()) {
      auto& events = waiting_[second_];
      std::make_heap(events.begin(), events.end(), isLater);
    }
  }
  if (second_ >= waiting_.size()) return std::nullopt;
  auto& events = waiting_[second_];
  std::pop_heap(events.begin(), events.end(), isLater);
  const Event event = events.back();
  events.pop_back();
  return event;
}

}  // namespace vellora::fleet
