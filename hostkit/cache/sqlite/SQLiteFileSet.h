#pragma once

#include <string>

namespace vellora::hostkit {

/// A database file together with its companions: the files that SQLite keeps beside it, of which the log may
/// hold what the database file lacks.
namespace sqliteFileSet {

/// True when one of the companions of `path` is there.
[[nodiscard]] bool hasCompanions(const std::string& path);

/// Renames the file, if there is one, and its companions to the next free NAME.damaged-N. 0, or the `errno`
/// of what went wrong.
[[nodiscard]] int setAside(const std::string& path);

/// Removes what there is of the file and its companions; the file last, so that companions without a file
/// always mean that a file of ours was not removed half.
void remove(const std::string& path);

}  // namespace sqliteFileSet

}  // namespace vellora::hostkit
