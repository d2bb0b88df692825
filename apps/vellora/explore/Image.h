#pragma once

#include <optional>
#include <string_view>

#include "vellora/Platform/Values/Data.h"

namespace vellora::explore {

/// An image as it is handed to the browser.
struct Image {
  std::string_view contentType;
  Data bytes;
};

/// The media type that the bytes themselves tell: PNG, JPEG, GIF, WebP or SVG. What a server says they are is
/// not looked at. No value for anything else, HTML above all.
[[nodiscard]] std::optional<std::string_view> imageTypeOf(std::string_view bytes);

}  // namespace vellora::explore
