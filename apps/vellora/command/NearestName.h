#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vellora::command {

/// The one of `names` that somebody most likely meant who typed `typed`: the same in another case, the only
/// one that begins so, or the one that takes the fewest corrections. No value when none is near enough.
[[nodiscard]] std::optional<std::string> nearestName(std::string_view typed,
                                                     const std::vector<std::string>& names);

}  // namespace vellora::command
