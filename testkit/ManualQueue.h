#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// A serial queue that runs nothing until the test says so, on the thread that says so.
///
///     const auto queue = std::make_shared<ManualQueue>();
///     // … construct what is tested with `queue` …
///     EXPECT_EQ(queue->pending(), 2U);
///     queue->runAll();
///
/// It steps what is submitted to it, and nothing else: as `CatalogOptions::answersOn` the callbacks and
/// coroutines of a catalogue, as the queue of a `VelloraService` the beginning of its prefetch. The library
/// works on threads of its own in between. So an empty queue says that nothing has come yet, not that nothing
/// will: `runUntil` waits for it. Deadlines are stepped by `ManualTimer`.
///
/// Ownership: owns submitted work until it has run; what never ran is dropped with the queue.
///
/// Threads: safe to use from several threads at once. Run it from one thread at a time if the work must keep
/// to the promise of a serial queue, one piece at a time.
class VELLORA_EXPORT ManualQueue final : public DispatchQueue {
 public:
  ManualQueue() = default;
  ManualQueue(const ManualQueue&) = delete;
  ManualQueue& operator=(const ManualQueue&) = delete;

  void async(Work work) override;

  /// Whether the calling thread is the one that runs the queue's work at the moment.
  [[nodiscard]] bool runsHere() const override;

  /// Runs the oldest piece of work, and destroys its captures before it returns. False when there was none.
  bool runNext();

  /// Runs everything, also what is submitted meanwhile, and tells how many pieces that were. Work that
  /// submits itself again without end keeps it running for ever: use `runNext` for that.
  std::size_t runAll();

  /// Runs work, also what other threads submit, until `isDone` holds after a piece of it or at first. False
  /// when there was no work for as long as `limit`.
  [[nodiscard]] bool runUntil(const std::function<bool()>& isDone,
                              std::chrono::milliseconds limit = std::chrono::seconds(60));

  /// How many pieces of work wait.
  [[nodiscard]] std::size_t pending() const;

 private:
  mutable std::mutex mutex_;
  std::condition_variable submitted_;
  std::deque<Work> work_;   // under mutex_
  std::thread::id runner_;  // under mutex_; of no thread while nothing runs
};

}  // namespace vellora::testkit
