#pragma once

#include <memory>

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/Progress.h"

namespace vellora::command {

/// Tells somebody who waits at a terminal, on standard error, what for. Null where nobody would see it or
/// want it: without a terminal, with `--quiet`, and where `--verbose` or a log writes there already.
[[nodiscard]] std::unique_ptr<Progress> progressFor(const Arguments& arguments, Progress::What what);

}  // namespace vellora::command
