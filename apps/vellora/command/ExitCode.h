#pragma once

namespace vellora::command {

/// What the command's exit tells a script.
enum class ExitCode {
  answered = 0,       ///< every key was answered
  unexpected = 1,     ///< something that should not happen, such as an output that cannot be written
  usage = 2,          ///< a missing, unknown or unusable option or argument
  someMissing = 3,    ///< answered, but some keys have no entry
  requestFailed = 5,  ///< keys are missing, and a request failed or the wait ran out
  cacheUnusable =
      7,  ///< the cache file cannot be used, was found damaged, or failed so that keys are missing
  interrupted = 130,  ///< Ctrl-C
};

}  // namespace vellora::command
