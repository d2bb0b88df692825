#pragma once

#include <mutex>

#include "tests/interleaving/Alive.h"
#include "tests/interleaving/Mutex.h"
#include "tests/interleaving/Run.h"
#include "tests/interleaving/RunMark.h"
#include "tests/interleaving/Waiter.h"

namespace vellora::tests::interleaving {

/// Stands for `std::condition_variable`.
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

  /// Waits until `moment` at the latest, which comes when the run chooses. What waits until `Run::never` is
  /// unwound at the end of the run.
  void sleep(std::unique_lock<Mutex>& lock, Run::Moment moment);

 private:
  Run* enter();

  Alive alive_;
  RunMark mark_;
  Waiters waiters_;
};

}  // namespace vellora::tests::interleaving
