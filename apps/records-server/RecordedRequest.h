#pragma once

#include "apps/http/Request.h"

namespace vellora::recordsserver {

/// A request as the server received it.
using RecordedRequest = http::Request;

}  // namespace vellora::recordsserver
