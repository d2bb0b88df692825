#pragma once

#include <string>

#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::hostkit {

/// The path of `owner`'s own cache file in `folder`: NAME-DIGEST.sqlite, the same at each call and another
/// one for each owner. `owner` is a text that tells server and user, as `SQLiteCache::Options::owner`. Nobody
/// can read it in the file's name, nor try a guess at it without the digest's key.
///
///     const auto file = ownCacheFile(folder, "records.example", server + " " + userId);
///     if (!file) return fail(file.error().localizedDescription());
///     SQLiteCache::Options options;
///     options.owner = server + " " + userId;
///     const auto cache = SQLiteCache::open(file.value(), options);
///
/// The digest's key is a file of random bytes in the folder, `.vellora-key`. The first call makes it, and the
/// folder if it is missing, with access for this process's user alone. Without the key, earlier caches in the
/// folder are not found any more.
///
/// Threads: any, and any number of processes.
///
/// Errors: `SQLiteCacheError` when the folder or the key cannot be had.
[[nodiscard]] VELLORA_EXPORT Result<std::string> ownCacheFile(const std::string& folder,
                                                              const std::string& name,
                                                              const std::string& owner);

}  // namespace vellora::hostkit
