#pragma once

#include "apps/vellora/cache/CacheTarget.h"
#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/ExitCode.h"
#include "hostkit/cache/sqlite/SQLiteCacheContents.h"

namespace vellora::command {

/// `vellora cache export`: writes the entries of a cache as a text. A file gets its name when it is complete.
[[nodiscard]] ExitCode exportTo(const Arguments& arguments, const hostkit::SQLiteCacheContents& contents);

/// `vellora cache import`: stores the entries of such a text in the cache; a file is created when it is not
/// there.
[[nodiscard]] ExitCode importFrom(const Arguments& arguments, const CacheTarget& target);

}  // namespace vellora::command
