#pragma once

#include <memory>
#include <string>

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/OutputArguments.h"
#include "apps/vellora/command/Progress.h"
#include "vellora/Platform/Queues/TimedQueue.h"

namespace vellora::command {

/// Work on a file that somebody waits for while the errand lives: told as progress at a terminal once it
/// takes a while, and with `--verbose` when it is over, with its time. Print nothing meanwhile.
///
///     const auto contents = [&] {
///       const Errand reading(arguments, "reading " + file);
///       return SQLiteCacheContents::read(file, now());
///     }();
class Errand {
 public:
  Errand(const Arguments& arguments, std::string what);
  ~Errand();
  Errand(const Errand&) = delete;
  Errand& operator=(const Errand&) = delete;

 private:
  const OutputArguments output_;
  const std::string what_;
  const std::shared_ptr<TimedQueue> clock_;
  const TimedQueue::Delay begun_;
  std::unique_ptr<Progress> progress_;
};

}  // namespace vellora::command
