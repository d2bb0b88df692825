#pragma once

#include <string>

namespace vellora::hostkit {

/// What a file is, judged by its first page; by all of it where that holds nothing but zero bytes.
enum class SQLiteFileKind {
  absent,
  empty,       ///< there, without any bytes
  ours,        ///< with all three marks of our files
  damaged,     ///< ours, but not whole; or nothing but zero bytes, as a loss of power leaves a fresh file
  newer,       ///< ours, from a newer version
  foreign,     ///< never ours
  unreadable,  ///< `errno` tells why
};

/// Looks at `path` without changing it or anything beside it. The file is read through SQLite's own file
/// layer: a descriptor of our own would, when closed, release the locks that this process holds on the file.
[[nodiscard]] SQLiteFileKind kindOfFile(const std::string& path);

}  // namespace vellora::hostkit
