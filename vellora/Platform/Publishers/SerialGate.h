#pragma once

#include <functional>
#include <mutex>
#include <utility>
#include <vector>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// Lets actions through one at a time, in their order, and makes nobody wait. An action that arrives while
/// another runs is left to the thread that runs it, also when that is the same thread:
///
///     gate.run([&] {
///       gate.run([&] { log("second"); });  // returns at once
///       log("first");
///     });
///
/// Ownership: the caller keeps the gate alive until its call returns. An action that had to wait is destroyed
/// before the next one runs.
///
/// Threads: safe to use from several threads at once; actions run with no lock held.
///
/// Errors: `run` and `enqueue` throw `std::bad_alloc` when there is no memory to keep an action that must
/// wait. Actions must not throw.
class VELLORA_EXPORT SerialGate {
 public:
  using Action = std::function<void()>;

  /// Runs `action` now when no other runs or waits, else leaves it behind those that wait. Runs also what
  /// other threads leave meanwhile.
  template <class F>
  void run(F&& action) {
    if (tryRun(action)) return;
    enqueue(std::forward<F>(action));
    drain();
  }

  /// Runs `action` now when no other runs or waits, and what other threads leave meanwhile. Else does nothing
  /// and returns false. Takes no memory.
  template <class F>
  [[nodiscard]] bool tryRun(F&& action) {
    {
      const std::lock_guard lock(mutex_);
      if (busy_ || !waiting_.empty()) return false;
      busy_ = true;
    }
    action();
    runWaiting();
    return true;
  }

  /// Leaves `action` behind those that wait. Somebody must call `drain` afterwards. Between the two calls,
  /// the caller may release a lock of its own, under which it put actions into order.
  void enqueue(Action action);

  /// Runs what waits. When another thread is running actions, that thread runs these too.
  void drain();

 private:
  /// Runs what waits until nothing does, then leaves the gate. The caller is the one inside.
  void runWaiting();

  std::mutex mutex_;
  bool busy_ = false;
  std::vector<Action> waiting_;
};

}  // namespace vellora
