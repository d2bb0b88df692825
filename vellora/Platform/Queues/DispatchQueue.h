#pragma once

#include <functional>
#include <memory>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// How urgent the work of a queue is. A hint to whoever runs the threads.
enum class DispatchQoS { unspecified, background, utility, standard, userInitiated, userInteractive };

/// Where work runs. The library's own are `SerialDispatchQueue` and `DispatchQueue::global`; a host may hand
/// in its own, such as a looper or an executor, by implementing `async`:
///
///     class MainLoopQueue final : public vellora::DispatchQueue {
///      public:
///       void async(Work work) override { app::mainLoop().post(std::move(work)); }
///     };
///
/// Ownership: held by `std::shared_ptr`. Work that was submitted runs even when the last handle to its queue
/// is dropped first.
///
/// Threads: `async` may be called from any thread, also from work running on the queue itself.
///
/// Errors: `async` may throw `std::bad_alloc`, on the library's own queues also where the system has no
/// thread at all; the work is then not submitted.
class VELLORA_EXPORT DispatchQueue {
 public:
  /// One piece of work; not empty.
  using Work = std::function<void()>;

  virtual ~DispatchQueue() = default;

  /// Submits `work` and returns at once; the work never runs inside this call. A serial queue runs its work
  /// in the order of submission, one at a time, and each piece sees what those before it wrote.
  ///
  /// What the library submits to your queue does not throw. On the library's own queues, work that throws
  /// `std::bad_alloc` ends there, and the queue goes on; anything else that work throws ends the process.
  virtual void async(Work work) = 0;

  /// Whether the calling thread is running work of this queue, as far as the queue can tell; who waits for an
  /// answer asks it, so as not to wait on a thread that the answer needs. A queue of yours that does not say
  /// is taken to run elsewhere.
  [[nodiscard]] virtual bool runsHere() const { return false; }

  /// The process-wide concurrent queue: its work runs in no particular order, several pieces at a time. It
  /// lives as long as the process. There is one for all `qos`.
  [[nodiscard]] static const std::shared_ptr<DispatchQueue>& global(DispatchQoS qos);

 protected:
  DispatchQueue() = default;
  DispatchQueue(const DispatchQueue&) = default;
  DispatchQueue& operator=(const DispatchQueue&) = default;
};

}  // namespace vellora
