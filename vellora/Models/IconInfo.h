#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// One icon of a theme entry. Its size is its width: what the server says of the height is not read.
struct VELLORA_EXPORT IconInfo {
  std::string contentType;  ///< a media type, such as "image/svg+xml"
  std::string theme;        ///< the theme that it belongs to
  std::string url;          ///< as the server gives it
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
