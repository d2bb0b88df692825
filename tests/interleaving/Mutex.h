#pragma once

#include <cstddef>
#include <string_view>

#include "tests/interleaving/Alive.h"
#include "tests/interleaving/Obstacle.h"
#include "tests/interleaving/RunMark.h"
#include "tests/interleaving/View.h"

namespace vellora::tests::interleaving {

/// Stands for `std::mutex`. Outside of a run it does nothing.
class Mutex : private Obstacle {
 public:
  Mutex() = default;
  ~Mutex() override;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock();
  void unlock();

 private:
  [[nodiscard]] bool isGone() const override { return !isHeld_; }
  [[nodiscard]] std::string_view name() const override { return "a mutex"; }

  Run* enter();

  Alive alive_;
  RunMark mark_;
  bool isHeld_ = false;
  std::size_t holder_ = 0;
  View shown_;  // by those who have held it
};

/// Stands for `std::recursive_mutex`.
class RecursiveMutex {
 public:
  void lock();
  void unlock();

 private:
  Run* enter();

  Mutex mutex_;
  RunMark mark_;
  std::size_t depth_ = 0;
  std::size_t holder_ = 0;
};

}  // namespace vellora::tests::interleaving
