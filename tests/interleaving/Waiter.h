#pragma once

#include <string_view>
#include <vector>

#include "tests/interleaving/Obstacle.h"
#include "tests/interleaving/Run.h"

namespace vellora::tests::interleaving {

/// A thread that waits for a notice. Nobody is woken without one.
class Waiter final : public Obstacle {
 public:
  explicit Waiter(std::string_view what) : what_(what) {}
  [[nodiscard]] bool isGone() const override { return isWoken_; }
  [[nodiscard]] std::string_view name() const override { return what_; }
  void wake() { isWoken_ = true; }

 private:
  const std::string_view what_;
  bool isWoken_ = false;
};

/// Those who wait for one notice.
class Waiters {
 public:
  void add(Waiter& waiter) { all_.push_back(&waiter); }
  void remove(const Waiter& waiter) { std::erase(all_, &waiter); }
  [[nodiscard]] bool areNone() const { return all_.empty(); }

  /// Wakes one of them: which one is up to the run.
  void wakeOne(Run& run) {
    if (all_.empty()) return;
    const auto chosen = all_.begin() + static_cast<std::ptrdiff_t>(run.choose(all_.size()));
    (*chosen)->wake();
    all_.erase(chosen);
  }

  void wakeAll() {
    for (Waiter* const waiter : all_) waiter->wake();
    all_.clear();
  }

 private:
  std::vector<Waiter*> all_;
};

}  // namespace vellora::tests::interleaving
