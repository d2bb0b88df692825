#pragma once

#include <algorithm>

#include "vellora/Catalog/Answer.h"
#include "vellora/Catalog/Missing.h"
#include "vellora/Models/ObjectCompactLayoutInfo.h"
#include "vellora/Models/ObjectPresentationInfo.h"

namespace vellora {

/// Whether `missing` says something about the key, rather than about the attempt to ask for it.
[[nodiscard]] inline bool isKnown(const Missing& missing) {
  using Why = Missing::Why;
  return missing.why() == Why::unknown || missing.why() == Why::notAsked || missing.why() == Why::notCached;
}

/// Whether `now` says something else than `before` of the same key. Where `isTroubled`, what `now`
/// lacks may be what could not be found out: colours and icons, or the name fields of other records. That is
/// no change.
template <class T>
[[nodiscard]] bool isOther(const T& before, const T& now, bool /*isTroubled*/) {
  return !(before == now);
}
[[nodiscard]] bool isOther(const ObjectPresentationInfo& before, const ObjectPresentationInfo& now,
                           bool isTroubled);
[[nodiscard]] bool isOther(const ObjectCompactLayoutInfo& before, const ObjectCompactLayoutInfo& now,
                           bool isTroubled);

/// Whether `now` knows something else than `before`. What could not be found out this time is no change, nor
/// is another age.
template <class T>
[[nodiscard]] bool isChanged(const Answer<T>& before, const Answer<T>& now) {
  const bool foundOther = std::any_of(now.found.begin(), now.found.end(), [&](const auto& found) {
    const auto old = before.found.find(found.first);
    return old == before.found.end() || isOther(old->second, found.second, now.trouble.has_value());
  });
  if (foundOther) return true;
  const bool missesOther = std::any_of(now.missing.begin(), now.missing.end(), [&](const auto& missing) {
    if (!isKnown(missing.second)) return false;
    const auto old = before.missing.find(missing.first);
    return old == before.missing.end() || old->second.why() != missing.second.why();
  });
  if (missesOther) return true;
  // Of a question without keys the answer lacks what is gone.
  return now.end == End::answered &&
         std::any_of(before.found.begin(), before.found.end(), [&](const auto& found) {
           return !now.found.contains(found.first) && !now.missing.contains(found.first);
         });
}

}  // namespace vellora
