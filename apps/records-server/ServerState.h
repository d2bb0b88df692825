#pragma once

#include "apps/records-server/DataSet.h"
#include "apps/records-server/FaultPlan.h"
#include "apps/records-server/RequestLog.h"
#include "apps/records-server/ServerOptions.h"

namespace vellora::recordsserver {

/// What a server's connections share.
struct ServerState {
  const DataSet data;
  const ServerOptions options;
  FaultPlan faults;
  RequestLog log;
};

}  // namespace vellora::recordsserver
