#pragma once

#include <istream>
#include <string>
#include <vector>

#include "apps/vellora/Arguments.h"

namespace vellora::command {

/// The keys that the arguments name, or the lines of `input` when they say so: without line ends, empty lines
/// left out.
[[nodiscard]] std::vector<std::string> keysToLookUp(const Arguments& arguments, std::istream& input);

}  // namespace vellora::command
