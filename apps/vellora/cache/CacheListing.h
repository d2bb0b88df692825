#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/cache/sqlite/SQLiteCacheContents.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::command {

/// One blob or row of a cache file, as the command shows it.
struct CacheListing {
  enum class Kind { blob, row };

  /// What the library makes of it.
  enum class State {
    fresh,     ///< used as it is
    expired,   ///< fetched longer ago than the time-out
    kept,      ///< used however old it is
    outdated,  ///< older than its table keeps rows: not there for the library
    damaged,   ///< does not fit its checksum: not there for the library
  };

  Kind kind = Kind::blob;
  /// A blob's key, or a row's table and meta: TABLE/name=value,name=value. As `asText` gives it.
  std::string entry;
  std::optional<std::size_t> bytes;  ///< absent when it is damaged
  std::optional<Date> fetched;       ///< absent for a single item, and when the cache doesn't tell
  std::optional<double> ageSeconds;  ///< since the fetch, for a single item since it was written
  State state = State::kept;

  // Where it is.
  std::string tableKey;  ///< of a row
  std::string key;       ///< the blob's key, or the row's data key
  std::optional<Data> data;
};

/// "fresh", "expired", "kept", "outdated" or "damaged".
[[nodiscard]] std::string nameOf(CacheListing::State state);

/// Every entry of `contents`, blobs first, with its state at `present` under the time-out in seconds.
[[nodiscard]] std::vector<CacheListing> listingsOf(const hostkit::SQLiteCacheContents& contents, Date present,
                                                   double cacheTimeout);

}  // namespace vellora::command
