#pragma once

#include <optional>
#include <string>
#include <variant>

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/Problem.h"

namespace vellora::command {

/// The token of a run: what is in its token file, or what its token command prints within the run's wait; no
/// value when it has neither. A problem names the place in the configuration that says whence the token
/// comes, but not what stands there.
[[nodiscard]] std::variant<std::optional<std::string>, Problem> tokenOf(const Arguments& arguments);

}  // namespace vellora::command
