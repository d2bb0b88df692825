#pragma once

#include <optional>
#include <string_view>

namespace vellora::command {

/// The completion that is installed for a shell, "bash", "zsh" or "fish"; no value for any other.
[[nodiscard]] std::optional<std::string_view> completionFor(std::string_view shell);

}  // namespace vellora::command
