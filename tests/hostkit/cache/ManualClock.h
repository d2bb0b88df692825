#pragma once

#include <functional>
#include <memory>
#include <mutex>

#include "vellora/Platform/Values/Date.h"

namespace vellora::hostkit::tests {

/// A clock that stands still until it is told otherwise. Copies show the same time.
class ManualClock {
 public:
  void advance(double seconds) {
    const std::lock_guard lock(state_->mutex);
    state_->date = Date::sinceReferenceDate(state_->date.secondsSinceReferenceDate() + seconds);
  }

  void set(Date date) {
    const std::lock_guard lock(state_->mutex);
    state_->date = date;
  }

  [[nodiscard]] std::function<Date()> function() const {
    return [state = state_] {
      const std::lock_guard lock(state->mutex);
      return state->date;
    };
  }

 private:
  struct State {
    std::mutex mutex;
    Date date = Date::since1970(1'700'000'000);
  };

  std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace vellora::hostkit::tests
