#pragma once

#include "vellora/Platform/Values/Data.h"

namespace vellora::fuzz {

/// The stored form of a body that is kept for conditional requests. Promises:
/// - What is read, stored again, is the same bytes.
/// - It is read for its own request alone.
void runKeptBody(const Data& input);

}  // namespace vellora::fuzz
