#pragma once

#include "hostkit/cache/CacheArchive.h"

namespace vellora::hostkit {

/// The archive whose text is `text`. Fails with a `DecodingError` for what is not JSON, else with a
/// `CacheArchiveError`: a text of another format or a newer version is told from a damaged one.
[[nodiscard]] Result<CacheArchive> readArchive(const Data& text);

}  // namespace vellora::hostkit
