#pragma once

#include <string>

#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// One colour of a theme entry.
struct VELLORA_EXPORT ColorInfo {
  std::string color;    ///< as the server gives it; its format is not looked at
  std::string context;  ///< where it is meant to be used; carried along, no choice depends on it
  std::string theme;    ///< the theme that it belongs to

  static constexpr std::string_view recordName = "ColorInfo";
  static constexpr auto fields() {
    return std::tuple(json::field("color", &ColorInfo::color), json::field("context", &ColorInfo::context),
                      json::field("theme", &ColorInfo::theme));
  }

  friend bool operator==(const ColorInfo&, const ColorInfo&) = default;
};

}  // namespace vellora
