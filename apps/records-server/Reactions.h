#pragma once

#include "apps/http/Exchange.h"
#include "apps/records-server/ServerState.h"

namespace vellora::recordsserver {

/// What becomes of a request: it is told and remembered, and gets the fault that is planned for it or the
/// right answer.
[[nodiscard]] http::Reaction reactionTo(const RecordedRequest& request, ServerState& state);

/// The answer to what is too long, or not HTTP.
[[nodiscard]] http::Response refusal(int status, std::string_view message);

}  // namespace vellora::recordsserver
