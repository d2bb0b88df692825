#pragma once

#include <optional>
#include <string>
#include <vector>

#include "vellora/Host/NetRequest.h"

namespace vellora {

// What the service of the compact layouts asks the server for. No request where the names make no URL.

/// For the compact layouts of these types.
[[nodiscard]] std::optional<CorvaneSDK::NetRequest> requestToGetCompactLayout(
    const std::vector<std::string>& objectTypeNames);

/// For the name fields of `entities`, which are quoted and stand between commas.
[[nodiscard]] std::optional<CorvaneSDK::NetRequest> nameFieldsRequest(const std::string& entities);

/// The types without those whose names no request can hold. A server that has such a type sends one anyway.
[[nodiscard]] std::vector<std::string> askable(std::vector<std::string> types);

}  // namespace vellora
