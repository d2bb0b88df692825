#pragma once

#include "vellora/Platform/Values/Data.h"

namespace vellora::fuzz {

/// The cached time at which a list was fetched: eight bytes, a number. Promises:
/// - A blob of fewer bytes makes the list expired.
/// - Any other blob makes it valid or expired.
/// - The list itself is found in any case.
/// - A list that is saved afterwards is valid.
void runTimeStamp(const Data& input);

}  // namespace vellora::fuzz
