#pragma once

#include <cstddef>
#include <string>
#include <variant>
#include <vector>

#include "apps/vellora/cache/CacheListing.h"
#include "apps/vellora/cache/CacheTarget.h"
#include "apps/vellora/command/CacheArguments.h"
#include "apps/vellora/command/Problem.h"

namespace vellora::command {

/// The entries that `vellora cache purge` was told to delete, each once.
[[nodiscard]] std::vector<CacheListing> doomed(const std::vector<CacheListing>& listings,
                                               const CacheArguments& cache);

/// Deletes entries from a cache, which is shown as `name`: how many it were. Stops at the first that cannot
/// be deleted.
[[nodiscard]] std::variant<std::size_t, Problem> purgeEntries(const CacheTarget& target,
                                                              const std::string& name,
                                                              const std::vector<CacheListing>& entries);

/// The same for a cache file.
[[nodiscard]] std::variant<std::size_t, Problem> purgeEntries(const std::string& file,
                                                              const std::vector<CacheListing>& entries);

/// "deleted 1 entry", "deleted 2 entries".
[[nodiscard]] std::string deletedText(std::size_t count);

}  // namespace vellora::command
