#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vellora/Models/ObjectCompactLayoutInfo.h"
#include "vellora/Models/ObjectLayoutInfo.h"
#include "vellora/Models/ObjectPresentationInfo.h"
#include "vellora/Models/ObjectQualifiedApiNameInfo.h"
#include "vellora/Models/SObject.h"
#include "vellora/Models/ThemeItem.h"
#include "vellora/Platform/Values/Error.h"

namespace vellora::faults {

/// One call of a completion, as far as it can be told from others.
struct Delivery {
  /// One value under its key: a word or two that tell it, and its whole content.
  struct Entry {
    std::string text;
    std::string content;

    friend bool operator==(const Entry&, const Entry&) = default;
  };

  std::optional<std::map<std::string, Entry>> entries;  ///< absent when no dictionary came
  std::string error;                                    ///< empty when none came

  friend bool operator==(const Delivery&, const Delivery&) = default;
};

using Deliveries = std::vector<Delivery>;

/// "noData", "other(transport)", "other(decoding)", …; empty for none.
[[nodiscard]] std::string textOf(const Error& error);
template <class E>
[[nodiscard]] std::string textOf(const std::optional<E>& error) {
  return error ? textOf(Error(*error)) : std::string();
}

[[nodiscard]] Delivery::Entry entryOf(const ObjectPresentationInfo& info);
[[nodiscard]] Delivery::Entry entryOf(const ObjectLayoutInfo& info);
[[nodiscard]] Delivery::Entry entryOf(const ObjectCompactLayoutInfo& info);
[[nodiscard]] Delivery::Entry entryOf(const SObject& sObject);
[[nodiscard]] Delivery::Entry entryOf(const ThemeItem& theme);
[[nodiscard]] Delivery::Entry entryOf(const std::string& text);

/// A delivery of a dictionary, or of a list of pairs, where a repeated key shows as "KEY again".
template <class Values>
[[nodiscard]] Delivery deliveryOf(const Values& values, const std::string& error = {}) {
  Delivery delivery{.entries = {{}}, .error = error};
  for (const auto& [key, value] : values) {
    if (!delivery.entries->emplace(key, entryOf(value)).second) {
      delivery.entries->emplace(key + " again", entryOf(value));
    }
  }
  return delivery;
}

/// How `actual` differs from `right`, the one delivery of a run in which nothing went wrong: "right" when it
/// does not; "never" without one, and of several the texts with ", then " between. "nothing" without a
/// dictionary, "empty" with an empty one, else what became of its entries, such as "no Account, Contact =
/// Account"; an error stands behind it, as in "empty + network"; "fails: noData" is an error alone.
[[nodiscard]] std::string difference(const Deliveries& actual, const Deliveries& right);

}  // namespace vellora::faults
