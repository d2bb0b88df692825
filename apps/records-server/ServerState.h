#pragma once

#include "apps/records-server/CurrentData.h"
#include "apps/records-server/FaultPlan.h"
#include "apps/records-server/Representations.h"
#include "apps/records-server/RequestLog.h"
#include "apps/records-server/ServerOptions.h"

namespace vellora::recordsserver {

/// What a server's connections share.
struct ServerState {
  CurrentData data;
  const ServerOptions options;
  FaultPlan faults = {};
  RequestLog log = {};
  Representations representations = {};  // only on the server's thread
};

}  // namespace vellora::recordsserver
