#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "vellora/Catalog/Answer.h"
#include "vellora/Catalog/Failure.h"
#include "vellora/Catalog/Missing.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What a catalogue was asked.
enum class QuestionKind {
  records,
  types,
  allTypes,
  searchColumns,
  headlines,
  refresh,
  load,  ///< both lists, by the catalogue itself when it is made
};

/// "records", "types", …, as the member of `Catalog` is called; "load".
[[nodiscard]] VELLORA_EXPORT std::string_view nameOf(QuestionKind kind);

/// "answered", "failed", "timedOut", "cancelled".
[[nodiscard]] VELLORA_EXPORT std::string_view nameOf(End end);

/// "unknown", "failed", "notAsked", "notCached", "timedOut", "cancelled".
[[nodiscard]] VELLORA_EXPORT std::string_view nameOf(Missing::Why why);

/// A question of a catalogue, as the observer is told of it.
///
/// Ownership: a plain value.
struct VELLORA_EXPORT QuestionName {
  std::uint64_t number = 0;  ///< counted from 1 in each catalogue
  QuestionKind kind = QuestionKind::load;

  friend bool operator==(const QuestionName&, const QuestionName&) = default;
};

/// How a question of a catalogue has ended.
///
/// Ownership: a plain value; the observer may keep a copy.
///
/// Units: seconds, as `std::chrono` spells them.
struct VELLORA_EXPORT QuestionReport {
  /// Where what was found came from.
  enum class Origin {
    nowhere,  ///< nothing was found
    cache,    ///< no request was waited for, or none succeeded
    server,   ///< at least one request that it waited for succeeded, be it sent for another question
  };

  QuestionName question;
  std::size_t keys = 0;  ///< that were asked for; 0 of a question without keys
  End end = End::answered;
  std::size_t found = 0;
  std::map<Missing::Why, std::size_t> missing;  ///< how many keys for each reason that occurs
  Origin origin = Origin::nowhere;
  std::optional<std::chrono::duration<double>> age = {};  ///< of the oldest that was found, where it is known
  bool isStale = false;                                   ///< whether some of it is older than the time-out
  std::chrono::duration<double> time{0};                  ///< from when it was asked

  /// These only where `CatalogOptions::observesKeys`, since they tell what was asked.
  std::map<std::string, std::optional<Missing>> reasons = {};  ///< each key; absent when it was found
  std::optional<Failure> trouble = {};
};

/// "nowhere", "cache", "server".
[[nodiscard]] VELLORA_EXPORT std::string_view nameOf(QuestionReport::Origin origin);

}  // namespace vellora
