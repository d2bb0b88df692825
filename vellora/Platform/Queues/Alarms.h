#pragma once

#include <map>
#include <optional>
#include <utility>

#include "vellora/Platform/Queues/TimedQueue.h"

namespace vellora {

/// Work by the moment at which it is due: what every `TimedQueue` keeps. `Moment` is a point of time of
/// whatever clock the queue has.
///
/// Ownership: owns the work.
///
/// Threads: not synchronised; the queue's lock is around it.
template <class Moment>
class Alarms {
 public:
  using Work = TimedQueue::Work;
  using Alarm = TimedQueue::Alarm;

  /// Keeps `work` until `moment`, behind what is due at the same one.
  Alarm add(Moment moment, Work work) {
    const Alarm alarm = ++last_;
    const auto due = due_.emplace(moment, std::pair(alarm, std::move(work)));
    try {
      places_.emplace(alarm, due);
    } catch (...) {
      due_.erase(due);
      throw;
    }
    return alarm;
  }

  /// Gives back the work of that name, if it is still here: what it holds is to go after the lock.
  [[nodiscard]] Work remove(Alarm alarm) {
    const auto place = places_.find(alarm);
    if (place == places_.end()) return nullptr;
    Work removed = std::move(place->second->second.second);
    due_.erase(place->second);
    places_.erase(place);
    return removed;
  }

  /// When the first work is due.
  [[nodiscard]] std::optional<Moment> next() const {
    return due_.empty() ? std::nullopt : std::optional(due_.begin()->first);
  }

  /// Takes out the first work, if it is due by `moment`.
  [[nodiscard]] Work takeDue(Moment moment) {
    if (due_.empty() || moment < due_.begin()->first) return nullptr;
    return remove(due_.begin()->second.first);
  }

  [[nodiscard]] std::size_t size() const { return due_.size(); }

 private:
  using Due = std::multimap<Moment, std::pair<Alarm, Work>>;

  Due due_;
  std::map<Alarm, typename Due::iterator> places_;
  Alarm last_ = 0;
};

}  // namespace vellora
