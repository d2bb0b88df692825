#pragma once

#include <vector>

#include "fuzz/Target.h"

namespace vellora::fuzz {

/// A target for each form in which JSON reaches the library, as a response body or as a cached one. Their
/// promises: what decodes has a JSON form, which decodes to an equal value and has that same form again; what
/// does not is refused with one short line.
[[nodiscard]] std::vector<Target> recordTargets();

}  // namespace vellora::fuzz
