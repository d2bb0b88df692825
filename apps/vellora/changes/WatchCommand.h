#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "apps/vellora/changes/Watcher.h"
#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/ExitCode.h"
#include "apps/vellora/command/Session.h"

namespace vellora::command {

/// Waits between two refreshes.
using Pause = std::function<void(std::chrono::duration<double>)>;

/// `vellora watch`: refreshes as often as the arguments say and prints what has changed, as a table below the
/// moment or as JSON, a line for each type or layout. Ctrl-C ends it, as answered. What could not be asked is
/// told on standard error, and asked again at the next refresh.
[[nodiscard]] ExitCode watch(const std::vector<std::string>& keys, const Arguments& arguments,
                             const Session& session);

/// The same with a watcher and a pause of the caller's; Ctrl-C is left alone. Ends as the last refresh did.
[[nodiscard]] ExitCode watch(Watcher& watcher, const Arguments& arguments,
                             const hostkit::KnownSecrets& secrets, const Pause& pause);

}  // namespace vellora::command
