#pragma once

#include <string>

#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// One colour of a theme entry: an element of `ThemeItem::colors`, and sent and cached as part of it.
///
///     {"color": "2F6FDE", "context": "primary", "theme": "light"}
///
/// Errors: all three members are required; other members are ignored.
struct VELLORA_EXPORT ColorInfo {
  /// As the server gives it; its format is not looked at.
  std::string color;

  /// Where it is meant to be used. It is carried along; no choice of the library depends on it.
  std::string context;

  /// The name of the theme that it belongs to.
  std::string theme;

  static constexpr std::string_view recordName = "ColorInfo";
  static constexpr auto fields() {
    return std::tuple(json::field("color", &ColorInfo::color), json::field("context", &ColorInfo::context),
                      json::field("theme", &ColorInfo::theme));
  }

  friend bool operator==(const ColorInfo&, const ColorInfo&) = default;
};

}  // namespace vellora
