#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// One icon of a theme entry: an element of `ThemeItem::icons`, and sent and cached as part of it. Its size
/// is its width: what the server says of the height is not read.
///
///     {"contentType": "image/png", "theme": "light", "width": 32,
///      "url": "https://icons.example/light/account_32.png"}
///
/// Errors: all members but the width are required; other members are ignored.
///
/// Units: the width is in pixels, as the server counts them. The library only compares widths.
struct VELLORA_EXPORT IconInfo {
  /// A media type. "image/svg+xml" makes it a vector icon.
  std::string contentType;

  /// The name of the theme that it belongs to.
  std::string theme;

  /// Where the picture is, as the server gives it. The library never fetches it.
  std::string url;

  /// How wide the picture is; often absent for vector icons. Any whole number is read, also 0 and less:
  /// `ThemeItem` says what becomes of these.
  std::optional<std::int64_t> width;

  static constexpr std::string_view recordName = "IconInfo";
  static constexpr auto fields() {
    return std::tuple(json::field("contentType", &IconInfo::contentType),
                      json::field("theme", &IconInfo::theme), json::field("url", &IconInfo::url),
                      json::field("width", &IconInfo::width));
  }

  friend bool operator==(const IconInfo&, const IconInfo&) = default;
};

}  // namespace vellora
