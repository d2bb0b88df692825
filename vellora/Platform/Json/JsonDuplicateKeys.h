#pragma once

#include <simdjson.h>

#include <optional>
#include <string_view>

// Which of several members with the same key an object has. JSON leaves that open; here the first one in the
// document counts, for records, dictionaries and forms of a record's own alike. The later ones are skipped
// without a look at their values: one of a wrong type is no failure. Keys are compared as they are spelled
// out, so "name" and "n\u0061me" are the same key.
//
// Everything that reads objects goes through one of the two functions below: `forEachFirstMember` for all
// members, `firstMember` for one. Nothing else decides.

namespace vellora::json {

/// Goes through the members of `object` in document order and hands on the first one of each key.
///
/// The caller keeps a place for the value of each key that it wants. `find(key, offer)` looks the place up
/// and returns `offer(place, isFree)`, where `isFree` says that no member has got the place yet: what
/// `try_emplace` and `insert` of a container return. For a key that the caller does not want, `find` returns
/// true.
///
/// `take(place, key, value)` is called for each first member. It returns whether to go on.
///
/// Returns false when `take` has stopped it, else true. Takes no memory but what `find` and `take` do.
///
///     std::set<std::string_view> seen;
///     const auto find = [&](std::string_view key, auto offer) {
///       const auto [place, isFree] = seen.insert(key);
///       return offer(place, isFree);
///     };
///     const auto take = [&](auto, std::string_view key, simdjson::dom::element value) {
///       return show(key, value);
///     };
///     forEachFirstMember(object, find, take);
// `find` hands the place on by a call, not as its result, so that the compiler joins the search for a
// record's field with the store of its value. With a result, lists take about 1 % more instructions to
// decode.
template <class Find, class Take>
bool forEachFirstMember(simdjson::dom::object object, Find find, Take take) {
  for (const auto member : object) {
    const auto offer = [&](auto place, bool isFree) {
      return !isFree || take(place, member.key, member.value);
    };
    if (!find(member.key, offer)) return false;
  }
  return true;
}

/// The value of the first member `key` of `object`; no value when it has none.
[[nodiscard]] inline std::optional<simdjson::dom::element> firstMember(simdjson::dom::object object,
                                                                       std::string_view key) {
  simdjson::dom::element value;
  if (object.at_key(key).get(value)) return std::nullopt;  // looks from front to back, so it finds the first
  return value;
}

}  // namespace vellora::json
