#pragma once

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/ExitCode.h"
#include "apps/vellora/command/Session.h"

namespace vellora::command {

/// `vellora list`: all object types, or those that a text finds, in the order of their labels.
[[nodiscard]] ExitCode listTypes(const Arguments& arguments, const Session& session);

}  // namespace vellora::command
