#pragma once

#include <string>
#include <string_view>

#include "apps/records-server/Glyph.h"

namespace vellora::recordsserver {

/// A PNG image of the drawing, `pixels` wide and high, smooth at its edges, on a transparent ground. `ink` is
/// six hexadecimal digits.
[[nodiscard]] std::string pngOf(const Glyph& glyph, std::string_view ink, unsigned pixels);

}  // namespace vellora::recordsserver
