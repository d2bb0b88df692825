#pragma once

#include "apps/vellora/Arguments.h"
#include "apps/vellora/ExitCode.h"
#include "apps/vellora/Session.h"

namespace vellora::command {

/// `vellora status`: constructs the façade, shows its states as they change where somebody looks, and tells
/// how it ended and how old the caches are.
[[nodiscard]] ExitCode showStatus(const Arguments& arguments, const Session& session);

}  // namespace vellora::command
