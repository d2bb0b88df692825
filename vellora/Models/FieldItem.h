#pragma once

#include <string>
#include <vector>

#include "vellora/Models/LayoutComponent.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora {

/// One line of the server's compact layout: an element of "fieldItems" in
/// "/services/data/v53.0/compactLayouts". Only read, never cached: `ObjectCompactLayoutInfo` flattens it.
struct FieldItem {
  std::string label;  ///< of the line; for display
  std::vector<LayoutComponent> layoutComponents;

  static constexpr std::string_view recordName = "FieldItem";
  static constexpr auto fields() {
    return std::tuple(json::field("label", &FieldItem::label),
                      json::field("layoutComponents", &FieldItem::layoutComponents));
  }

  friend bool operator==(const FieldItem&, const FieldItem&) = default;
};

}  // namespace vellora
