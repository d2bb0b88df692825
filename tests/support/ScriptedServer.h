#pragma once

#include "testkit/ScriptedServer.h"

namespace vellora::tests {

using testkit::closedPort;
using testkit::ScriptedServer;

}  // namespace vellora::tests
