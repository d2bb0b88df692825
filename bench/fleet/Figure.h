#pragma once

#include <string>

namespace vellora::fleet {

/// A number as a person reads it, to three digits: 12, 1.25 k, 41.5 M, 3.2 G.
[[nodiscard]] std::string figure(double value);

}  // namespace vellora::fleet
