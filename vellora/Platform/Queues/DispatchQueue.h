#pragma once

#include <functional>
#include <memory>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// How urgent the work of a queue is. A hint to whoever runs the threads.
enum class DispatchQoS { unspecified, background, utility, standard, userInitiated, userInteractive };

/// Where work runs. The library's own are `SerialDispatchQueue` and `DispatchQueue::global`; a host may hand
/// in its own, such as a looper or an executor, by implementing `async`.
///
/// Ownership: held by `std::shared_ptr`. Work that was submitted runs even when the last handle to its queue
/// is dropped first.
/// Threads: `async` may be called from any thread, also from work running on the queue itself.
class VELLORA_EXPORT DispatchQueue {
 public:
  using Work = std::function<void()>;

  virtual ~DispatchQueue() = default;

  /// Submits `work` and returns at once; the work never runs inside this call. A serial queue runs its work
  /// in the order of submission, one at a time, and each piece sees what those before it wrote. Work that the
  /// library submits does not throw; work on the library's own queues that throws `std::bad_alloc` ends with
  /// that.
  virtual void async(Work work) = 0;

  /// The process-wide concurrent queue. It has no order, and lives as long as the process.
  [[nodiscard]] static const std::shared_ptr<DispatchQueue>& global(DispatchQoS qos);

 protected:
  DispatchQueue() = default;
  DispatchQueue(const DispatchQueue&) = default;
  DispatchQueue& operator=(const DispatchQueue&) = default;
};

}  // namespace vellora
