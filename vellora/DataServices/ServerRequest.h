#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "vellora/Host/NetRequest.h"

namespace vellora {

/// The request for a server path, such as "/services/data/v50.0/theme": a GET with the default cache policy
/// and a time-out of 60 seconds. No value when the path does not form a URL.
[[nodiscard]] std::optional<CorvaneSDK::NetRequest> serverRequest(std::string_view path);

/// The same with one query item "q", percent-encoded as it stands: whatever the text holds, it stays one
/// item.
[[nodiscard]] std::optional<CorvaneSDK::NetRequest> serverRequest(std::string_view path,
                                                                  std::string queryText);

}  // namespace vellora
