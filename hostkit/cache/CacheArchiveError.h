#pragma once

#include <string>

#include "vellora/Platform/Values/Export.h"

namespace vellora::hostkit {

/// Why a text is no archive that can be restored. Nothing was restored then.
///
/// Ownership: a plain value.
struct VELLORA_EXPORT CacheArchiveError {
  /// What is wrong, for a program.
  enum class Reason {
    otherFormat,   ///< JSON, but not of an archive
    newerVersion,  ///< a newer version of the library wrote it
    damaged,       ///< it does not fit its checksum, or holds what no archive does
  };

  Reason reason = Reason::damaged;

  /// For people: what is wrong and what to do about it, such as "This is not an archive of a cache. Choose a
  /// file that was written as one."
  [[nodiscard]] std::string localizedDescription() const;

  friend bool operator==(const CacheArchiveError&, const CacheArchiveError&) = default;
};

}  // namespace vellora::hostkit
