#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

namespace vellora::command {

/// A value that another thread will bring, or say that it won't.
template <class T>
class Awaited {
 public:
  void set(T value) {
    const std::lock_guard lock(mutex_);
    value_ = std::move(value);
    over_ = true;
    changed_.notify_all();
  }

  /// No value will come, if none has.
  void giveUp() {
    const std::lock_guard lock(mutex_);
    over_ = true;
    changed_.notify_all();
  }

  /// True once a value has come, or will not.
  [[nodiscard]] bool isOver() const {
    const std::lock_guard lock(mutex_);
    return over_;
  }

  /// The value, or none when it has not come within `seconds` or will not.
  [[nodiscard]] std::optional<T> waitFor(double seconds) {
    constexpr double aMonth = 30.0 * 24 * 3600;  // a clock's range is shorter than a double's
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
