#pragma once

#include <vector>

#include "fuzz/Target.h"

namespace vellora::fuzz {

/// A target for each form in which JSON reaches the library, as a response body or as a cached one. Their
/// promises:
/// - A value that was decoded can be encoded.
/// - Decoding it again gives an equal value, and encoding that gives the same text.
/// - Text that does not decode is refused with one short line.
[[nodiscard]] std::vector<Target> recordTargets();

}  // namespace vellora::fuzz
