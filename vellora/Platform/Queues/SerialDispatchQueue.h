#pragma once

#include <memory>
#include <string>

#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// A serial queue on the library's thread pool: first in, first out, one at a time, on no fixed thread.
///
///     const auto queue = std::make_shared<SerialDispatchQueue>("VelloraService.queue");
///     queue->async([] { loadSettings(); });
///     queue->async([] { showSettings(); });  // after it, and sees what it wrote
///
/// Many may be made: a queue has no thread of its own. All share the pool's, at most one for each core or
/// four. A thread begins when work needs it, and ends when it has had none for ten seconds. Work that blocks
/// takes one of them away from all queues.
///
/// Ownership: dropping the last handle does not wait; work that was submitted still runs.
///
/// Threads: `async` may be called from any thread, `label` and `qos` as well.
class VELLORA_EXPORT SerialDispatchQueue final : public DispatchQueue {
 public:
  /// `label` names the queue to a person; `qos` is kept and has no effect, since all queues share one pool.
  explicit SerialDispatchQueue(std::string label, DispatchQoS qos = DispatchQoS::unspecified);
  ~SerialDispatchQueue() override;

  SerialDispatchQueue(const SerialDispatchQueue&) = delete;
  SerialDispatchQueue& operator=(const SerialDispatchQueue&) = delete;

  /// Submits `work` behind all that was submitted before. It never runs inside this call.
  void async(Work work) override;

  [[nodiscard]] bool runsHere() const override;

  /// As the constructor was told; valid as long as the queue.
  [[nodiscard]] const std::string& label() const noexcept { return label_; }
  [[nodiscard]] DispatchQoS qos() const noexcept { return qos_; }

 private:
  struct Strand;

  std::string label_;
  DispatchQoS qos_;
  std::shared_ptr<Strand> strand_;
};

}  // namespace vellora
