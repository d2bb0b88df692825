#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// One character of a text in UTF-8.
struct Utf8Character {
  /// Stands for a byte that belongs to no character.
  static constexpr char32_t replacement = 0xFFFD;

  char32_t codePoint;
  std::size_t length;  ///< in bytes
};

/// The first character of `text`, which must not be empty. A byte that begins no character counts as one of
/// its own, U+FFFD, so that a loop over characters gets through any bytes:
///
///     for (; !text.empty(); text.remove_prefix(firstCharacter(text).length)) ++count;
[[nodiscard]] VELLORA_EXPORT Utf8Character firstCharacter(std::string_view text);

/// Whether every byte of `text` belongs to a character.
[[nodiscard]] VELLORA_EXPORT bool isUtf8(std::string_view text);

/// `text` with U+FFFD in place of each byte that belongs to no character.
[[nodiscard]] VELLORA_EXPORT std::string utf8From(std::string_view text);

}  // namespace vellora
