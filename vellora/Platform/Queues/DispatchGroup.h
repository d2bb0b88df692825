#pragma once

#include <memory>

#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// A counter of outstanding tasks that tells when it drops to zero.
///
///     DispatchGroup loads;
///     loads.async(queue, loadTypes);
///     loads.async(queue, loadThemes);
///     loads.notify(queue, showBoth);  // runs once both have run
///
/// Ownership: copies are handles to one group; the group lives as long as a handle or a task in it.
///
/// Threads: safe to use from several threads at once.
///
/// Errors: `notify` and `async` throw `std::bad_alloc` when there is no memory; the group is then as before.
/// Work that `async` was given must not throw: the group would never be left.
class VELLORA_EXPORT DispatchGroup {
 public:
  DispatchGroup();

  /// One task more is outstanding.
  void enter() const;

  /// One task is done. Each `enter` needs one; a `leave` without an `enter` does nothing.
  void leave() const;

  /// Submits `work` to `queue` once no task is outstanding: at once when none is, else when the last one
  /// leaves. Never runs `work` inside the call. Several notifications fire in their order, each once. While a
  /// task has not left, none fires. When there is no memory for a submission, the work runs on the thread
  /// that leaves: otherwise it would never run.
  void notify(const std::shared_ptr<DispatchQueue>& queue, DispatchQueue::Work work) const;

  /// Enters, submits `work` to `queue`, and leaves when the work has run and its captures are destroyed.
  void async(const std::shared_ptr<DispatchQueue>& queue, DispatchQueue::Work work) const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace vellora
