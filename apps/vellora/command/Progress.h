#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "vellora/Platform/Queues/TimedQueue.h"

namespace vellora::command {

/// Tells somebody who waits at a terminal what for, on one line that goes away in the end. What takes less
/// than half a second says nothing.
///
/// Ownership: shares the timer. When the destructor has returned, nothing is shown any more.
///
/// Threads: `what` and `show` are called on the timer's thread, one at a time, and `show` in the destructor.
class Progress {
 public:
  using What = std::function<std::string()>;
  using Show = std::function<void(std::string_view line)>;

  /// `what` gives what is waited for; `show` puts a line in the place of the
  /// one before, and takes it away when the new one is empty.
  Progress(std::shared_ptr<TimedQueue> timer, What what, Show show);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

 private:
  class Line;

  const std::shared_ptr<Line> line_;
};

}  // namespace vellora::command
