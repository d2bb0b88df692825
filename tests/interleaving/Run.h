#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/interleaving/Choices.h"
#include "tests/interleaving/Fiber.h"
#include "tests/interleaving/Limits.h"
#include "tests/interleaving/Obstacle.h"
#include "tests/interleaving/View.h"

namespace vellora::tests::interleaving {

/// One run of a scenario: its threads, of which one runs at a time, and what each has seen of the memory.
///
/// A thread may make way for another at each operation on a lock, an atomic or another thread: before it, and
/// behind one that lets others see something. Who goes on there, `Choices` says.
///
/// It has a clock of its own, whose time passes when a thread that sleeps wakes because its moment has come.
/// That may be at any time: while another could go on it counts as a pre-emption.
///
/// Ownership: shares nothing. What is under way on the stacks of a run that has failed is never destroyed.
///
/// Threads: for one thread of the system. Its own threads are fibers.
class Run {
 public:
  using Work = std::function<void()>;
  using Moment = std::chrono::steady_clock::time_point;

  /// Until then a thread sleeps that only a call wakes.
  static constexpr Moment never = Moment::max();

  Run(Choices& choices, const Limits& limits);
  ~Run();
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  /// The one that runs, or null.
  [[nodiscard]] static Run* current() noexcept;

  /// Runs `scenario` as the first thread, and what that begins, to the end of all. Returns what has failed.
  [[nodiscard]] std::optional<std::string> execute(Work scenario);

  /// What each thread did, one line each, if `keepsTrace`.
  void keepTrace() { keepsTrace_ = true; }
  [[nodiscard]] const std::vector<std::string>& trace() const { return trace_; }

  // For what stands for locks, atomics and threads.

  /// Begins another thread, and gives its number.
  std::size_t begin(Work work);
  [[nodiscard]] std::size_t self() const { return running_; }
  [[nodiscard]] bool hasEnded(std::size_t thread) const;

  /// Others may run here. `what` is about to be done with `object`, for the trace.
  void pause(std::string_view what, const void* object);

  /// The same, and goes on once `obstacle` is gone.
  void passWhenGone(const Obstacle& obstacle, std::string_view what, const void* object);

  /// What wakes a thread that sleeps.
  enum class Wakes { call, time, end };

  /// The same, but goes on at `moment` at the latest. A thread that still sleeps when all the others have
  /// ended, and has no moment to wait for, wakes because that is the end of the run: it is to be unwound by
  /// `IsOver`.
  [[nodiscard]] Wakes sleep(const Obstacle& call, Moment until, const void* object);

  /// What unwinds such a thread.
  struct IsOver {};

  /// Goes on once no other thread can, unless time passes, and sees all that they have done.
  void passWhenOthersRest();

  [[nodiscard]] Moment now() const { return now_; }

  /// Which of `count` alternatives comes to pass.
  [[nodiscard]] std::size_t choose(std::size_t count);

  /// Whether it is always the first one, from now on.
  void takeTheFirst(bool always) { takesTheFirst_ = always; }

  /// Which of the `count` newest stores is read: 0 for the newest.
  [[nodiscard]] std::size_t chooseStore(std::size_t count);

  /// Ends the run as a failed one. Does not return.
  [[noreturn]] void fail(std::string what);

  /// Different for each run. What was made in another one has no place in this.
  [[nodiscard]] std::uint64_t number() const { return number_; }

  /// A place for `View`, of this run.
  [[nodiscard]] std::size_t newPlace() { return places_++; }

  /// What a thread has seen, and what it would see or show at a fence.
  struct Seen {
    View all;
    View read;   ///< by what it has read without acquiring
    View shown;  ///< by what it stores without releasing, since its last fence
  };
  [[nodiscard]] Seen& seen();
  [[nodiscard]] View& inOrder() { return inOrder_; }  ///< by all operations that are sequentially consistent

  /// Gives what the running thread has seen to who acquires `view`, or the other way round.
  void release(View& view);
  void acquire(const View& view);
  void acquireEndOf(std::size_t thread);

  /// How far `thread` has come, and whether the running thread has seen that of it.
  [[nodiscard]] std::uint32_t progress(std::size_t thread) const;
  [[nodiscard]] bool hasSeen(std::size_t thread, std::uint32_t progress);

 private:
  class Worker;
  struct Thread;

  class OthersAreAwake;

  [[nodiscard]] static bool canGoOn(const Thread& thread);
  [[nodiscard]] std::size_t chooseThread();
  void addAble();
  void addSleepers();
  [[nodiscard]] std::size_t unwound();
  [[nodiscard]] std::string standstill() const;
  void note(std::string_view what, const void* object);
  void makeWay();
  void handOverTo(std::size_t thread);
  void end();

  static constexpr std::size_t mostSteps = 20'000;

  Choices& choices_;
  const std::uint64_t number_;
  int preemptionsLeft_;
  int staleReadsLeft_;
  bool takesTheFirst_ = false;
  bool keepsTrace_ = false;
  std::vector<std::string> trace_;
  std::vector<const void*> objects_;  // in the order of their first use, for the trace
  std::vector<std::unique_ptr<Thread>> threads_;
  std::vector<std::size_t> able_;  // of whom `chooseThread` chooses
  std::size_t running_ = 0;
  std::size_t ended_ = 0;
  std::size_t steps_ = 0;
  std::size_t places_ = 0;
  Moment now_ = Moment(std::chrono::hours(1));
  View inOrder_;
  std::optional<std::string> failure_;
};

}  // namespace vellora::tests::interleaving
