#pragma once

#include <string>
#include <vector>

#include "apps/vellora/cache/CacheListing.h"
#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/ExitCode.h"
#include "hostkit/cache/sqlite/SQLiteCacheContents.h"

namespace vellora::command {

/// A cache file that was read.
struct ListedFile {
  std::string file;
  hostkit::SQLiteCacheContents contents;
  std::vector<CacheListing> listings;
};

/// `vellora cache ls`: prints the entries of a cache as tables, by names that a person can type, or those
/// names alone, or one JSON document with the entries' own names.
[[nodiscard]] ExitCode listEntries(const Arguments& arguments, const ListedFile& listed);

/// `vellora cache ls --all`: the same of each file, one behind the other; as JSON a list of the documents.
[[nodiscard]] ExitCode listEntries(const Arguments& arguments, const std::vector<ListedFile>& all);

}  // namespace vellora::command
