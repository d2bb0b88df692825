#pragma once

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/ExitCode.h"
#include "apps/vellora/command/Session.h"

namespace vellora::command {

/// `vellora status`: has a catalogue load what is not fresh, shows how far that got where somebody looks, and
/// tells how it ended and how old the caches are.
[[nodiscard]] ExitCode showStatus(const Arguments& arguments, const Session& session);

}  // namespace vellora::command
