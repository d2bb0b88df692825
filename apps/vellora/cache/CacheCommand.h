#pragma once

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/ExitCode.h"

namespace vellora::command {

/// `vellora cache …`: looks into the cache file that `arguments` name, and changes it only where it is asked
/// to. Works while other programs use the file. Asks no server.
[[nodiscard]] ExitCode runCacheCommand(const Arguments& arguments);

}  // namespace vellora::command
