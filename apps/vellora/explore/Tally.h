#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace vellora::explore {

/// Where one lookup, or one façade, found what it needed.
///
/// Threads: synchronises itself.
class Tally {
 public:
  void noteHit() {
    const std::lock_guard lock(mutex_);
    ++hits_;
  }

  void noteAnswer() {
    const std::lock_guard lock(mutex_);
    ++answers_;
  }

  void noteFailure(std::string reason) {
    const std::lock_guard lock(mutex_);
    failure_ = std::move(reason);
  }

  /// How many answers of the server there were.
  [[nodiscard]] int answers() const {
    const std::lock_guard lock(mutex_);
    return answers_;
  }

  /// "network" when any answer of the server was needed, "cache" when the cache sufficed, "nowhere" when
  /// neither had anything.
  [[nodiscard]] std::string source() const {
    const std::lock_guard lock(mutex_);
    if (answers_ > 0) return "network";
    return hits_ > 0 ? "cache" : "nowhere";
  }

  /// Why the last request without an answer had none; absent when every one was answered.
  [[nodiscard]] std::optional<std::string> failure() const {
    const std::lock_guard lock(mutex_);
    return failure_;
  }

 private:
  mutable std::mutex mutex_;
  int hits_ = 0;
  int answers_ = 0;
  std::optional<std::string> failure_;
};

}  // namespace vellora::explore
