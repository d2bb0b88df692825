#pragma once

#include <optional>
#include <string>

namespace vellora::hostkit {

/// A database file together with its companions: the files that SQLite keeps beside it, of which the log may
/// hold what the database file lacks.
namespace sqliteFileSet {

/// True when one of the companions of `path` is there.
[[nodiscard]] bool hasCompanions(const std::string& path);

/// The path of the file, or of the companion, that belongs to another user; absent when none does.
[[nodiscard]] std::optional<std::string> anotherUsersFile(const std::string& path);

/// Renames the file, if there is one, and its companions to the next free NAME.damaged-N, for good: a log
/// whose new name a loss of power took away would be played into the file that is made next. 0, or the
/// `errno` of what went wrong.
[[nodiscard]] int setAside(const std::string& path);

/// Removes the file and its companions, as far as they are there. The file goes last: when the process is
/// killed in between, the file still stands there and tells that its companions are ours.
void remove(const std::string& path);

/// Removes the file, if there is one, its companions, and every set of files that `setAside` made of it. The
/// file goes last. A loss of power brings none of them back. 0, or the `errno` of what went wrong.
[[nodiscard]] int removeAll(const std::string& path);

}  // namespace sqliteFileSet

}  // namespace vellora::hostkit
