#pragma once

#include <mutex>

#include "tests/interleaving/Alive.h"
#include "tests/interleaving/Mutex.h"
#include "tests/interleaving/Waiter.h"

namespace vellora::tests::interleaving {

/// Stands for `std::condition_variable`. It has no time: who waits, waits for a notice.
class ConditionVariable {
 public:
  ConditionVariable() = default;
  ~ConditionVariable();
  ConditionVariable(const ConditionVariable&) = delete;
  ConditionVariable& operator=(const ConditionVariable&) = delete;

  void notify_one();
  void notify_all();
  void wait(std::unique_lock<Mutex>& lock);

  template <class Condition>
  void wait(std::unique_lock<Mutex>& lock, Condition holds) {
    while (!holds()) wait(lock);
  }

 private:
  Alive alive_;
  Waiters waiters_;
};

}  // namespace vellora::tests::interleaving
