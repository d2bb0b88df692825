#pragma once

#include <string>
#include <vector>

#include "vellora/Models/LayoutComponent.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora {

/// One line of the server's compact layout.
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
