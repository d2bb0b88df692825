#pragma once

#include <optional>
#include <string>
#include <variant>

#include "apps/vellora/command/Problem.h"

namespace vellora::command {

/// The token in a file or on standard input ("-"), without the line end behind it; no value without a file.
/// Problems name the file, or call it `name` where its own may not be repeated.
[[nodiscard]] std::variant<std::optional<std::string>, Problem> readToken(
    const std::optional<std::string>& file, const std::optional<std::string>& name = std::nullopt);

/// The password in a file or on standard input, in the same way. `place` tells where the file is named, as
/// FILE:LINE, when its own name may not be repeated; empty when it may.
[[nodiscard]] std::variant<std::optional<std::string>, Problem> readPassword(
    const std::optional<std::string>& file, const std::string& place);

}  // namespace vellora::command
