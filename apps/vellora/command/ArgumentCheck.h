#pragma once

#include <optional>
#include <string>

#include "apps/vellora/command/Arguments.h"

namespace vellora::command {

/// What is missing, contradicts itself or makes no sense in arguments whose words were all understood, and
/// what to do about it; no value when nothing is.
[[nodiscard]] std::optional<std::string> complaintAbout(const Arguments& arguments);

}  // namespace vellora::command
