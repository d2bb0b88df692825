#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

namespace vellora::command {

/// A value that one thread waits for. Another thread brings it, or says that none will come.
template <class T>
class Awaited {
 public:
  void set(T value) {
    const std::lock_guard lock(mutex_);
    value_ = std::move(value);
    over_ = true;
    changed_.notify_all();
  }

  /// Says that no value will come. Changes nothing when one has come.
  void giveUp() {
    const std::lock_guard lock(mutex_);
    over_ = true;
    changed_.notify_all();
  }

  /// True once a value has come, or it was said that none will.
  [[nodiscard]] bool isOver() const {
    const std::lock_guard lock(mutex_);
    return over_;
  }

  /// Waits for the value; none when it has not come within `seconds`, or it was said that none will.
  [[nodiscard]] std::optional<T> waitFor(double seconds) {
    constexpr double aMonth = 30.0 * 24 * 3600;  // a double can be longer than the clock can wait
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, std::chrono::duration<double>(seconds < aMonth ? seconds : aMonth),
                      [this] { return over_; });
    return value_;
  }

 private:
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  bool over_ = false;
  std::optional<T> value_;
};

}  // namespace vellora::command
