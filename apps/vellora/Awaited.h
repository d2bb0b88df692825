#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

namespace vellora::command {

/// A value that another thread will bring.
template <class T>
class Awaited {
 public:
  void set(T value) {
    const std::lock_guard lock(mutex_);
    value_ = std::move(value);
    arrived_.notify_all();
  }

  /// The value, or none when it has not come within `seconds`.
  [[nodiscard]] std::optional<T> waitFor(double seconds) {
    constexpr double aMonth = 30.0 * 24 * 3600;  // a clock's range is shorter than a double's
    std::unique_lock lock(mutex_);
    arrived_.wait_for(lock, std::chrono::duration<double>(seconds < aMonth ? seconds : aMonth),
                      [this] { return value_.has_value(); });
    return value_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::optional<T> value_;
};

}  // namespace vellora::command
