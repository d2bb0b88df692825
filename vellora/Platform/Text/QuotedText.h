#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>

namespace vellora {

/// `text` in double quotes, on one line whatever it holds. Quotes, backslashes and everything that
/// drives a display (`drivesDisplay`) are escaped as in JSON; bytes that are not UTF-8 become U+FFFD. A text
/// whose quoted form would exceed `limit` bytes is cut after a whole character and ends in "…".
[[nodiscard]] std::string quotedText(std::string_view text,
                                     std::size_t limit = std::numeric_limits<std::size_t>::max());

/// The same behind what `out` holds; the limit is for what is added.
void appendQuotedText(std::string& out, std::string_view text,
                      std::size_t limit = std::numeric_limits<std::size_t>::max());

}  // namespace vellora
