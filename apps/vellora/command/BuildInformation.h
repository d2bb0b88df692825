#pragma once

#include <string>

namespace vellora::command {

/// Version, compiler, kind of build and system, a line each but without a line end behind the last: what a
/// report of an error should tell.
[[nodiscard]] std::string buildInformation();

}  // namespace vellora::command
