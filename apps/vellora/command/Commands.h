#pragma once

#include "apps/vellora/command/Arguments.h"

namespace CLI {
class App;
}

namespace vellora::command {

/// Has `app` read the commands, and what each of them takes, into `arguments`, which must outlive it.
void addCommands(CLI::App& app, Arguments& arguments);

}  // namespace vellora::command
