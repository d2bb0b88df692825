#pragma once

#include <vector>

#include "vellora/Models/ThemeItem.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// The body of "/services/data/v50.0/theme": a theme entry for each object type that has one.
///
///     {"themeItems": [{"name": "Account", "colors": […], "icons": […]}]}
///
/// One entry that cannot be read makes the whole body invalid. What is cached is the list, without this
/// wrapping.
struct VELLORA_EXPORT ThemeResponse {
  /// In the server's order.
  std::vector<ThemeItem> themeItems;

  static constexpr std::string_view recordName = "ThemeResponse";
  static constexpr auto fields() { return std::tuple(json::field("themeItems", &ThemeResponse::themeItems)); }

  friend bool operator==(const ThemeResponse&, const ThemeResponse&) = default;
};

}  // namespace vellora
