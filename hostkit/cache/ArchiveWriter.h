#pragma once

#include "hostkit/cache/CacheArchive.h"

namespace vellora::hostkit {

/// The text of `archive`: JSON with each entry on a line of its own. Fails with an `EncodingError` when a key
/// is not UTF-8.
[[nodiscard]] Result<Data> writtenArchive(const CacheArchive& archive);

}  // namespace vellora::hostkit
