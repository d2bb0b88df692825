#pragma once

#include "apps/vellora/command/Arguments.h"

namespace CLI {
class App;
}

namespace vellora::command {

/// Has `app` read the options of every command into `arguments`, which must outlive it.
void addOptions(CLI::App& app, Arguments& arguments);

}  // namespace vellora::command
