#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>

#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// A concurrent queue on the threads of another, of which it takes only so many at a time. The rest stay free
/// for others, however long its work blocks.
///
/// Ownership: shares the other queue. Work that was submitted still runs when the last handle is dropped.
///
/// Threads: `async` may be called from any thread.
///
/// Errors: those of the other queue's `async`. Work that throws `std::bad_alloc` ends there.
class VELLORA_EXPORT BoundedQueue final : public DispatchQueue {
 public:
  /// Runs at most `atMost` pieces of work at a time on `queue`.
  BoundedQueue(std::shared_ptr<DispatchQueue> queue, std::size_t atMost)
      : queue_(std::move(queue)), state_(std::make_shared<State>(atMost)) {}

  /// The process-wide one, on which the catalogue's lookups run: on the pool without one of its threads. A
  /// host's cache that blocks in all of them leaves that one to callbacks and coroutines.
  [[nodiscard]] static const std::shared_ptr<DispatchQueue>& lookups();

  void async(Work work) override;
  [[nodiscard]] bool runsHere() const override { return queue_->runsHere(); }

 private:
  /// One piece of work. Its turn on the other queue holds it, then the list of those that wait.
  struct Piece {
    Work work;
    std::shared_ptr<Piece> next = nullptr;
  };

  class State {
   public:
    explicit State(std::size_t atMost) : atMost_(atMost) {}

    /// Runs `piece` and all that waits behind it; leaves it to those who run when they are enough.
    void take(std::shared_ptr<Piece> piece);

   private:
    [[nodiscard]] bool enter(std::shared_ptr<Piece>& piece);
    [[nodiscard]] std::shared_ptr<Piece> next();

    const std::size_t atMost_;
    std::mutex mutex_;  // guards what follows
    std::size_t running_ = 0;
    std::shared_ptr<Piece> first_;
    Piece* last_ = nullptr;
  };

  const std::shared_ptr<DispatchQueue> queue_;
  const std::shared_ptr<State> state_;
};

}  // namespace vellora
