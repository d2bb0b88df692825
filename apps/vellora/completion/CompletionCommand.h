#pragma once

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/ExitCode.h"

namespace vellora::command {

/// `vellora completion SHELL`: prints what lets the shell complete the command's words, to be sourced by it.
[[nodiscard]] ExitCode printCompletion(const Arguments& arguments);

}  // namespace vellora::command
