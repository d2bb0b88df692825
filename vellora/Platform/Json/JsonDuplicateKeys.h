#pragma once

#include <simdjson.h>

#include <optional>
#include <string_view>
#include <utility>

// Which of several members with the same key an object has. JSON leaves that open; here the first one in the
// document counts, for records, dictionaries and irregular records alike. The later ones are skipped without
// a look at their values: one of a wrong type is no failure. Keys are compared as they are spelled out, so
// "name" and "n\u0061me" are the same key.
//
// Everything that reads objects goes through `forEachFirstMember`; it is the only place that decides.

namespace vellora::json {

/// Goes through the members of `object` in document order and hands on the first one of each key.
///
/// `claim(key)` asks the caller for the place that is kept for the value of `key`. It returns what
/// `std::map::try_emplace` and `std::set::insert` return, a pair of the place and whether it was free: true
/// makes the member the first one of its key. It returns false, too, for a key that the caller does not want.
///
/// `take(place, key, value)` is called for each first member. It returns whether to go on.
///
/// Returns false when `take` stopped it, else true. Takes no memory but what `claim` and `take` do.
///
///     std::set<std::string_view> seen;
///     forEachFirstMember(
///         object, [&](std::string_view key) { return seen.insert(key); },
///         [&](auto, std::string_view key, simdjson::dom::element value) { return show(key, value); });
template <class Claim, class Take>
bool forEachFirstMember(simdjson::dom::object object, Claim claim, Take take) {
  for (const auto [key, value] : object) {
    const auto [place, isFirst] = claim(key);
    if (isFirst && !take(place, key, value)) return false;
  }
  return true;
}

/// The value of the first member `key` of `object`; no value when it has none.
[[nodiscard]] inline std::optional<simdjson::dom::element> firstMember(simdjson::dom::object object,
                                                                       std::string_view key) {
  std::optional<simdjson::dom::element> found;
  const auto claim = [&](std::string_view candidate) { return std::pair(&found, candidate == key); };
  const auto take = [](auto* place, std::string_view, simdjson::dom::element value) {
    *place = value;
    return false;
  };
  static_cast<void>(forEachFirstMember(object, claim, take));
  return found;
}

}  // namespace vellora::json
