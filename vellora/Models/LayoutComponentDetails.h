#pragma once

#include <optional>
#include <string>
#include <vector>

#include "vellora/Platform/Json/Json.h"

namespace vellora {

/// The server's description of the field that a layout component shows.
struct LayoutComponentDetails {
  std::optional<std::string> relationshipName;
  std::vector<std::string> referenceTo;  ///< object types that the field may point to; empty for most fields
  std::string type;
  std::string label;
  bool htmlFormatted = false;

  static constexpr std::string_view recordName = "LayoutComponentDetails";
  static constexpr auto fields() {
    return std::tuple(json::field("relationshipName", &LayoutComponentDetails::relationshipName),
                      json::field("referenceTo", &LayoutComponentDetails::referenceTo),
                      json::field("type", &LayoutComponentDetails::type),
                      json::field("label", &LayoutComponentDetails::label),
                      json::field("htmlFormatted", &LayoutComponentDetails::htmlFormatted));
  }

  friend bool operator==(const LayoutComponentDetails&, const LayoutComponentDetails&) = default;
};

}  // namespace vellora
