#pragma once

#include <string>
#include <string_view>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// True for a character that drives how a text is displayed instead of being displayed itself: the controls
/// C0 and C1, DEL, the separators of lines and paragraphs, and the marks that turn the direction of writing
/// (U+061C, U+200E, U+200F, U+202A to U+202E, U+2066 to U+2069). With these a text can drive a terminal, fake
/// a line, or show its characters in another order than it holds them.
[[nodiscard]] constexpr bool drivesDisplay(char32_t codePoint) noexcept {
  return codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0) || codePoint == 0x061C ||
         codePoint == 0x200E || codePoint == 0x200F || (codePoint >= 0x2028 && codePoint <= 0x202E) ||
         (codePoint >= 0x2066 && codePoint <= 0x2069);
}

/// `text` as one line that drives no display: each character that would is written as an escape (`\n`,
/// `\x1b`, `\u202e`), and so is each byte that is not UTF-8 (`\xff`); everything else is as it was. A
/// backslash is left alone, since such lines are for people and hold paths and patterns; so the result cannot
/// be turned back for certain.
[[nodiscard]] VELLORA_EXPORT std::string escapedText(std::string_view text);

/// `json`, a JSON text in UTF-8, with each character from DEL on that drives a display written as `\u202e`
/// is. It means the same. Below that only the blanks between values can stand in JSON; they stay.
[[nodiscard]] VELLORA_EXPORT std::string escapedJson(std::string_view json);

}  // namespace vellora
