#pragma once

#include <map>
#include <optional>
#include <string>

#include "vellora/Catalog/Failure.h"
#include "vellora/Catalog/Missing.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// How a question has ended.
enum class End {
  answered,   ///< each key was found, or is missing for a reason of its own
  failed,     ///< nothing was found, and at least one key could not be asked; or the question as a whole came
              ///< to grief, and what was there by then is in the answer. `trouble` says why
  timedOut,   ///< the deadline came first; the answer has what was there by then, and what else the cache has
  cancelled,  ///< the question was given up; what was there by then is in the answer
};

/// How old what was found is.
struct VELLORA_EXPORT Age {
  std::optional<Date> fetched;  ///< when the server gave it; absent when the cache does not tell
  bool isStale = false;         ///< whether that is longer ago than the catalogue's time-out

  friend bool operator==(const Age&, const Age&) = default;
};

/// What a question has come to: each key that was asked for is in `found` or in `missing`, never in both.
///
/// Ownership: a plain value.
template <class T>
struct Answer {
  End end = End::answered;
  std::map<std::string, T> found;
  std::map<std::string, Missing> missing;

  /// What kept the answer from being fuller or fresher, if something did: why nothing could be asked, why the
  /// records are older than the time-out, or why they are without colours and icons.
  std::optional<Failure> trouble;

  /// The age of all that was found but for the keys in `otherAges`. What a list view lists has no date.
  Age age;
  std::map<std::string, Age> otherAges;

  /// How old the answer for `key` is.
  [[nodiscard]] Age ageOf(const std::string& key) const {
    const auto other = otherAges.find(key);
    return other == otherAges.end() ? age : other->second;
  }
};

}  // namespace vellora
