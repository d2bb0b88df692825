#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// How the threads sleep that the library and the ready-made host start. All of them do so here, and nowhere
/// else: a thread that wakes while nothing is asked costs a phone its battery. So a test can put its own
/// functions in the place of these, count who wakes, and let an hour pass. Internal: not for installed
/// headers.
///
/// Threads: every function may be called from any thread.
struct VELLORA_EXPORT Sleep {
  using Clock = std::chrono::steady_clock;
  using Moment = Clock::time_point;

  /// Until somebody wakes the thread.
  static constexpr Moment never = Moment::max();

  [[nodiscard]] static Moment now();

  /// Sleeps until `condition` is notified, or until that moment. It may return sooner, for no reason.
  static void on(std::condition_variable& condition, std::unique_lock<std::mutex>& lock, Moment until);

  /// Has `poll` sleep, which knows by itself what else wakes it: for at most so many milliseconds.
  static void in(const std::function<void(int milliseconds)>& poll, Moment until);
};

}  // namespace vellora
