#pragma once

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/ExitCode.h"
#include "apps/vellora/command/Session.h"

namespace vellora::command {

/// `vellora explore`: serves the explorer's page on the loopback interface and prints its address, until the
/// command is interrupted.
[[nodiscard]] ExitCode explore(const Arguments& arguments, const Session& session);

}  // namespace vellora::command
