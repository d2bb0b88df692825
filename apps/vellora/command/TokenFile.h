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

}  // namespace vellora::command
