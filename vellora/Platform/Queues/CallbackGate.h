#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// Lets callbacks through until it is closed, and makes closing final: once `close` has returned, none of
/// them runs and none will.
///
///     gate->run([&] { callback(answer); });  // on whatever thread
///     …
///     gate->close();  // waits for a callback that runs; then what it uses may be destroyed
///
/// A callback that closes the gate from inside does not wait for itself. Two callbacks on two threads, each
/// of which closes the other's gate, wait for each other for ever.
///
/// Ownership: the caller keeps the gate alive during each call.
///
/// Threads: safe to use from several threads at once. Callbacks run with no lock held, and several of them at
/// a time.
///
/// Errors: none, and it takes no memory. What a callback throws is passed on.
class VELLORA_EXPORT CallbackGate {
 public:
  CallbackGate() = default;
  CallbackGate(const CallbackGate&) = delete;
  CallbackGate& operator=(const CallbackGate&) = delete;

  /// Runs `callback`, unless the gate is closed. True when it ran.
  template <class F>
  bool run(F&& callback) {
    const Visit visit(*this);
    if (visit.isAdmitted()) std::forward<F>(callback)();
    return visit.isAdmitted();
  }

  /// Lets nothing through any more, and waits for the callbacks that run on other threads.
  void close();

  /// Whether `close` was called.
  [[nodiscard]] bool isClosed() const;

  /// Whether the calling thread is inside one of the callbacks.
  [[nodiscard]] bool isInside() const;

 private:
  /// One callback while it runs; stands on the stack of its thread.
  class VELLORA_EXPORT Visit {
   public:
    explicit Visit(CallbackGate& gate);
    ~Visit();
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;

    [[nodiscard]] bool isAdmitted() const noexcept { return isAdmitted_; }

   private:
    friend class CallbackGate;

    CallbackGate& gate_;
    const std::thread::id thread_ = std::this_thread::get_id();
    bool isAdmitted_;
    // Under the gate's mutex: the visits before and behind it.
    Visit* before_ = nullptr;
    Visit* behind_ = nullptr;
  };

  mutable std::mutex mutex_;  // guards what follows
  std::condition_variable left_;
  bool isClosed_ = false;
  Visit* newest_ = nullptr;
};

}  // namespace vellora
