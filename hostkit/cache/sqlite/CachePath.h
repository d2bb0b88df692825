#pragma once

#include <optional>
#include <string>

#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::hostkit {

/// Where a cache file is, and the folders above it.
///
/// Errors: `SQLiteCacheError`, which names the folder that is in the way and says why.
namespace cachePath {

/// The absolute path of the file that `path` leads to, so that renaming concerns the file and not a link to
/// it, and a later change of the working folder nothing. Fails for what is no path, and for a relative one
/// when the working folder is gone.
[[nodiscard]] Result<std::string> resolved(const std::string& path);

/// The folder of the resolved `path`.
[[nodiscard]] std::string folderOf(const std::string& path);

/// Creates the folders of the resolved `path` that are missing, for their owner alone. Those that are there
/// stay as they are. Gives the error, or no value.
[[nodiscard]] std::optional<Error> createFolders(const std::string& path);

/// The error for the `errno` that the folder of the resolved `path` gave.
[[nodiscard]] Error folderError(const std::string& path, int number);

/// True when the file at `path`, or the link, belongs to another user, who could read and change what is
/// written there. What belongs to others is not a superuser's own, either.
[[nodiscard]] bool isOfAnotherUser(const std::string& path);

}  // namespace cachePath

}  // namespace vellora::hostkit
