#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <new>

#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Queues/Sleep.h"
#include "vellora/Platform/Queues/ThreadCount.h"

namespace vellora::detail {

/// The process's one pool of threads, on which all queues of the library run. A thread begins when there is
/// work that no other is free for, up to `threadCount` of them, and ends when it has had none for a while.
/// Of those that sleep, the last to fall asleep is the first to be woken: what it works with is still in its
/// processor's cache, and the others sleep on until they end. Internal: not for installed headers.
///
/// Threads: safe to use from several threads at once. No lock is held while work runs.
class ThreadPool {
 public:
  /// For how long a thread without work stays. A screen's questions come in bursts, seconds apart.
  static constexpr std::chrono::seconds patience{10};

  /// What a thread does before it looks for the next.
  class Turn {
   public:
    Turn() = default;
    virtual ~Turn() = default;
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    /// What it throws ends the process.
    virtual void run() = 0;

   private:
    friend class ThreadPool;
    std::shared_ptr<Turn> next_;  // while it waits; under the pool's mutex
  };

  [[nodiscard]] static ThreadPool& shared();

  /// Whether the calling thread is one of the pool's.
  [[nodiscard]] static bool runsHere() noexcept;

  /// Has `turn` run once, behind all that were submitted before. Throws `std::bad_alloc`, and does not take
  /// it, where the system has no thread at all.
  void submit(std::shared_ptr<Turn> turn);

  /// The same from inside its own `run`, at the end: its thread is free for it in a moment. Takes no memory.
  void submitAgain(std::shared_ptr<Turn> turn);

  /// Has the threads that have no work end at once, with what each keeps. Does not wait for that.
  void endIdleThreads();

  /// How many threads there are.
  [[nodiscard]] std::size_t threads() const;

 private:
  /// A thread without work; on its stack.
  struct Idle {
    std::condition_variable call{};
    bool isAwake = false;
    Idle* below = nullptr;  // fell asleep before it
  };

  // Called with the lock held.
  void sendThread();
  void startThread();
  void wakeLast();
  void add(std::shared_ptr<Turn> turn);
  void work();
  [[nodiscard]] std::shared_ptr<Turn> waitForTurn(std::unique_lock<std::mutex>& lock);
  void idleUntil(Sleep::Moment end, std::unique_lock<std::mutex>& lock);
  void remove(const Idle& idle);

  const std::size_t most_ = threadCount();  // to find that out takes reading a file
  mutable std::mutex mutex_;                // guards what follows
  std::size_t threads_ = 0;
  std::size_t coming_ = 0;   // threads that have begun or been woken, and will look for a turn
  std::size_t waiting_ = 0;  // turns
  std::size_t ends_ = 0;     // calls of endIdleThreads
  Idle* idle_ = nullptr;     // the last that fell asleep
  std::shared_ptr<Turn> first_;
  Turn* last_ = nullptr;
};

/// Runs `work`, which ends quietly when it runs out of memory: a `std::bad_alloc` must not end the process.
inline void runGuarded(const DispatchQueue::Work& work) {
  try {
    work();
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): there is nobody to be told
  }
}

}  // namespace vellora::detail
