#pragma once

#include <string>

#include "apps/vellora/command/ExitCode.h"

namespace vellora::command {

/// Why the command cannot go on: one line for standard error, and the exit code.
struct Problem {
  ExitCode exit = ExitCode::unexpected;
  std::string message;
};

}  // namespace vellora::command
