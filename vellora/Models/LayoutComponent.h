#pragma once

#include <optional>
#include <string>
#include <vector>

#include "vellora/Models/LayoutComponentDetails.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora {

/// One component of a line of the server's compact layout, possibly made of others. One with details is a
/// field; one without is something else, such as a separator.
struct LayoutComponent {
  std::string value;  ///< API name, where the component shows a field
  std::optional<LayoutComponentDetails> details;
  std::optional<std::vector<LayoutComponent>> components;

  static constexpr std::string_view recordName = "LayoutComponent";
  static constexpr auto fields() {
    return std::tuple(json::field("value", &LayoutComponent::value),
                      json::field("details", &LayoutComponent::details),
                      json::field("components", &LayoutComponent::components));
  }

  friend bool operator==(const LayoutComponent&, const LayoutComponent&) = default;
};

}  // namespace vellora
