#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vellora/Models/ColorInfo.h"
#include "vellora/Models/IconInfo.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// The theme entry of one object type: its colours and icons, each for one theme, and the choice among them.
///
///     {"name": "Account", "colors": [{"color": "2F6FDE", …}], "icons": [{"contentType": "image/png", …}]}
///
/// The server sends the entries of all types in one list, as `ThemeResponse` says. That list is cached as one
/// JSON array, the row `cacheEntryType=themes` of the table "OPS_ThemesCacheTable"; an entry that was looked
/// up has a row `cacheEntryType=theme`, `name=Account` of its own.
///
/// Names of themes are compared as they stand, letter case included. When several candidates are equally
/// good, the one that the server lists first is chosen. What is chosen differs on purpose: a colour, a small
/// or a large icon of another theme is better than none on a screen, a vector icon of another theme is not.
struct VELLORA_EXPORT ThemeItem {
  struct Constants {
    static constexpr std::string_view svgType = "image/svg+xml";  ///< content type of a vector icon
  };

  /// API name of the object type.
  std::string name;

  /// In the server's order. An absent list and an empty one are told apart, and written as they were read.
  std::optional<std::vector<ColorInfo>> colors;

  /// In the server's order.
  std::vector<IconInfo> icons;

  /// The colour for `theme`; when the theme has none, the first colour of any.
  [[nodiscard]] std::optional<std::string> color(std::string_view theme) const;

  /// The address of the first vector icon of `theme`, whatever its width; of no other theme.
  [[nodiscard]] std::optional<std::string> svgIconUrl(std::string_view theme) const;

  /// The address of the narrowest icon of `theme`, of any content type, among those with a positive width.
  /// When there is none, of the narrowest icon of any theme, where no width counts as 0: one of negative
  /// width comes first then, one without width or of width 0 next, one of positive width last.
  [[nodiscard]] std::optional<std::string> smallIconUrl(std::string_view theme) const;

  /// The same for the widest icon. Without a candidate in `theme`, an icon of any theme with a positive width
  /// comes first, one without width or of width 0 next, one of negative width last.
  [[nodiscard]] std::optional<std::string> largeIconUrl(std::string_view theme) const;

  static constexpr std::string_view recordName = "ThemeItem";
  static constexpr auto fields() {
    return std::tuple(json::field("name", &ThemeItem::name), json::field("colors", &ThemeItem::colors),
                      json::field("icons", &ThemeItem::icons));
  }

  friend bool operator==(const ThemeItem&, const ThemeItem&) = default;
};

}  // namespace vellora
