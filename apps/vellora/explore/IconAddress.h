#pragma once

#include <optional>
#include <string>

#include "vellora/Platform/Web/URL.h"

namespace vellora::explore {

/// The request that fetches the icon at `address`, which the server sent, from that server: path and query.
/// No value unless the address leads to `server`, a well-formed URL, itself: same scheme, host and port,
/// below its path, without credentials. So no address makes anybody else be asked, or sends a token
/// elsewhere.
[[nodiscard]] std::optional<URL> iconRequest(const std::string& address, const std::string& server);

}  // namespace vellora::explore
