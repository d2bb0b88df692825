#pragma once

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/ExitCode.h"

namespace vellora::command {

/// `vellora cache ls --all` and `vellora cache purge --all`: the same for every cache file that is kept by
/// default. A file that cannot be used is told, and does not keep the others from being looked at.
[[nodiscard]] ExitCode runOnEveryFile(const Arguments& arguments);

}  // namespace vellora::command
