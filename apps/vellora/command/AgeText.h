#pragma once

#include <optional>
#include <string>

namespace vellora::command {

/// How old something is, in its largest whole unit: "3 days old", "1 minute old"; "of unknown age" when that
/// is absent, negative or no number.
[[nodiscard]] std::string ageWords(std::optional<double> seconds);

}  // namespace vellora::command
