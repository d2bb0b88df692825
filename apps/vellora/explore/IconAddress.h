#pragma once

#include <optional>
#include <string>

#include "vellora/Platform/Web/URL.h"

namespace vellora::explore {

/// Turns the address of an icon, which the server sent, into a request to that same server: path and query.
/// No value unless the address leads to `server`, a well-formed URL: scheme, host and port are the same, the
/// path lies below the server's, and there are no credentials. So no address makes the command ask anybody
/// else, or send a token elsewhere.
[[nodiscard]] std::optional<URL> iconRequest(const std::string& address, const std::string& server);

}  // namespace vellora::explore
