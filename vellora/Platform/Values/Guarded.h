#pragma once

#include <mutex>
#include <utility>

namespace vellora {

/// A value that several threads read and replace, such as the handle to what is current.
///
/// Ownership: owns the value; those it hands out are copies. `T`'s copying must not call back.
///
/// Threads: safe to use from several threads at once.
template <class T>
class Guarded {
 public:
  explicit Guarded(T value) : value_(std::move(value)) {}
  Guarded(const Guarded&) = delete;
  Guarded& operator=(const Guarded&) = delete;

  [[nodiscard]] T value() const {
    const std::lock_guard lock(mutex_);
    return value_;
  }

  /// Puts `value` in the place of the one before, and gives that back.
  [[nodiscard]] T exchange(T value) {
    const std::lock_guard lock(mutex_);
    return std::exchange(value_, std::move(value));
  }

  /// Puts `value` in the place of `expected`; changes nothing when another is there.
  void replace(const T& expected, T value) {
    const std::lock_guard lock(mutex_);
    if (value_ == expected) std::swap(value_, value);
  }

 private:
  mutable std::mutex mutex_;
  T value_;  // under mutex_
};

}  // namespace vellora
