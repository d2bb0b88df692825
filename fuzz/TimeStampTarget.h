#pragma once

#include "vellora/Platform/Values/Data.h"

namespace vellora::fuzz {

/// The blob that says when a list was fetched. Promises: a blob that ends within the number makes the list
/// expired; any other leaves it valid or expired, and the list is there in any case; what is saved over it is
/// read back as valid.
void runTimeStamp(const Data& input);

}  // namespace vellora::fuzz
