#pragma once

#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "apps/vellora/changes/Snapshot.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora::command {

/// One property that two snapshots tell differently.
struct PropertyChange {
  std::string property;
  std::optional<std::string> before;  ///< absent when it is new
  std::optional<std::string> after;   ///< absent when it is gone

  static constexpr auto fields() {
    return std::tuple(json::field("property", &PropertyChange::property),
                      json::field("before", &PropertyChange::before),
                      json::field("after", &PropertyChange::after));
  }

  friend bool operator==(const PropertyChange&, const PropertyChange&) = default;
};

/// One type or layout that two snapshots tell differently.
struct Difference {
  std::string what;                        ///< "type", "search layout" or "compact layout"
  std::string name;                        ///< API name of the type
  std::string change;                      ///< "added", "removed" or "changed"
  std::vector<PropertyChange> properties;  ///< of what has changed

  static constexpr auto fields() {
    return std::tuple(json::field("what", &Difference::what), json::field("name", &Difference::name),
                      json::field("change", &Difference::change),
                      json::field("properties", &Difference::properties));
  }

  friend bool operator==(const Difference&, const Difference&) = default;
};

/// How the same properties in another order are told.
inline constexpr const char* orderProperty = "order";

/// What has become of `before` in `after`: types, then search layouts, then compact layouts, each in the
/// order of their names.
[[nodiscard]] std::vector<Difference> differencesBetween(const Snapshot& before, const Snapshot& after);

}  // namespace vellora::command
