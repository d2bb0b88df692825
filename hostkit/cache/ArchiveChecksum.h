#pragma once

#include <cstdint>

#include "hostkit/cache/CacheArchive.h"

namespace vellora::hostkit {

/// A checksum over all that `archive` holds and over its order: it tells when the text of an archive was
/// damaged, or changed by hand.
[[nodiscard]] std::int64_t archiveChecksum(const CacheArchive& archive);

}  // namespace vellora::hostkit
