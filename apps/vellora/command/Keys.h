#pragma once

#include <istream>
#include <optional>
#include <string>
#include <vector>

#include "apps/vellora/command/Arguments.h"

namespace vellora::command {

/// The keys that the arguments name, or the lines of `input` when they say so: without line ends, empty lines
/// left out.
[[nodiscard]] std::vector<std::string> keysToLookUp(const Arguments& arguments, std::istream& input);

/// The first of the keys that is not UTF-8, which no answer could be keyed by.
[[nodiscard]] std::optional<std::string> keyThatIsNoText(const std::vector<std::string>& keys);

}  // namespace vellora::command
