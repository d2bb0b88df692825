#pragma once

#include "hostkit/cache/CacheArchive.h"

namespace vellora::hostkit {

/// The text of `archive`: JSON with each entry on a line of its own. What is not UTF-8, be it a key, stands
/// there in hexadecimal digits.
[[nodiscard]] Result<Data> writtenArchive(const CacheArchive& archive);

}  // namespace vellora::hostkit
