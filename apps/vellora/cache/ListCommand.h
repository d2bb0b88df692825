#pragma once

#include <vector>

#include "apps/vellora/cache/CacheListing.h"
#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/ExitCode.h"
#include "hostkit/cache/sqlite/SQLiteCacheContents.h"

namespace vellora::command {

/// `vellora cache ls`: prints the entries of a cache as tables, or as one JSON document.
[[nodiscard]] ExitCode listEntries(const Arguments& arguments, const hostkit::SQLiteCacheContents& contents,
                                   const std::vector<CacheListing>& listings);

}  // namespace vellora::command
