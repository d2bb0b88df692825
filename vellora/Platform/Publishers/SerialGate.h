#pragma once

#include <functional>
#include <mutex>
#include <utility>
#include <vector>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// Lets actions through one at a time, in their order, without making anyone wait: an action that arrives
/// while another runs is left to the thread that is inside, also when that is the same thread.
///
/// Threads: safe to use from several threads at once; actions run with no lock held.
class VELLORA_EXPORT SerialGate {
 public:
  using Action = std::function<void()>;

  /// Runs `action` now when nobody is inside, else leaves it behind those that wait.
  template <class F>
  void run(F&& action) {
    {
      std::unique_lock lock(mutex_);
      if (busy_ || !waiting_.empty()) {
        waiting_.emplace_back(std::forward<F>(action));
        lock.unlock();
        drain();
        return;
      }
      busy_ = true;
    }
    action();
    runWaiting();
  }

  /// Leaves `action` behind those that wait. Somebody must call `drain` afterwards; between the two, the
  /// caller may let go of a lock that made it enqueue in order.
  void enqueue(Action action);

  /// Runs what waits, unless somebody is inside, who then does.
  void drain();

 private:
  void runWaiting();

  std::mutex mutex_;
  bool busy_ = false;
  std::vector<Action> waiting_;
};

}  // namespace vellora
