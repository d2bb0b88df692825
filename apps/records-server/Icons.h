#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "vellora/Platform/Values/Data.h"

namespace vellora::recordsserver {

/// An image file as it is sent.
struct Icon {
  std::string contentType;
  Data image;
};

/// Draws the icon at `path`: "/icons/", a theme, "/", an object type in small letters, then ".svg", or "_",
/// a width of 1 to 256 pixels and ".png". Between width and ".png" more may stand, which changes nothing. No
/// value for any other path.
[[nodiscard]] std::optional<Icon> iconAt(std::string_view path);

}  // namespace vellora::recordsserver
