#pragma once

#include <string>

#include "vellora/Platform/Values/Export.h"

namespace vellora::hostkit {

/// Why a cache file cannot be used, or a call of its cache failed.
///
///     const auto cache = SQLiteCache::open(path);
///     if (!cache) std::cerr << cache.error().localizedDescription() << '\n';
///     // The cache file "/data/notes.txt" is not a cache of this library and was left as it is. Choose
///     // another path, or move that file away.
///
/// Ownership: a plain value.
struct VELLORA_EXPORT SQLiteCacheError {
  /// What is wrong, for a program.
  enum class Reason {
    unwritable,    ///< the file or its folder cannot be created, read or written
    foreignFile,   ///< something else has that name, and never was a cache of ours
    newerVersion,  ///< a newer version of the library wrote it
    locked,        ///< another process keeps it locked; for `destroy`, any program has it open
    absent,        ///< there is no such file, and none was to be created
    damaged,       ///< it is a cache of ours, but not whole, and was not to be replaced
    failed,        ///< the database reports another failure
    otherOwner,    ///< it holds what belongs to another owner
  };

  Reason reason = Reason::failed;
  std::string path;    ///< of the file, as it was resolved
  std::string detail;  ///< the system's or the database's own words; may be empty

  /// For people: what is wrong, where, and what to do about it.
  [[nodiscard]] std::string localizedDescription() const;

  friend bool operator==(const SQLiteCacheError&, const SQLiteCacheError&) = default;
};

}  // namespace vellora::hostkit
