#pragma once

#include <string>
#include <vector>

#include "apps/vellora/cache/CacheListing.h"

namespace vellora::command {

/// The name of an entry that a person can type: "type/Account", "prefix/001", "list-view/ID",
/// "theme/Account", "layout/Account", "compact-layout/Account"; "types", "prefixes" and "themes" for the
/// lists, "types-fetched" and "themes-fetched" for the moments of their fetches, "layout-names" and
/// "compact-layout-names"; "kept-body/DIGITS" for a body that is kept for conditional requests, and
/// "kept-body-key" for what such names are made with. What the library did not write goes by
/// `CacheListing::entry`.
[[nodiscard]] std::string shortName(const std::string& entry);

/// The entries that `name` stands for: those whose own name it is, else those whose short name it is.
[[nodiscard]] std::vector<CacheListing> entriesNamed(const std::string& name,
                                                     const std::vector<CacheListing>& listings);

}  // namespace vellora::command
