#pragma once

#include <cstddef>
#include <string_view>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// One character of a text in UTF-8.
struct Utf8Character {
  static constexpr char32_t replacement = 0xFFFD;

  char32_t codePoint;
  std::size_t length;  ///< in bytes
};

/// The first character of `text`, which must not be empty. A byte that begins none counts as a U+FFFD of its
/// own, so that any bytes can be gone through.
[[nodiscard]] VELLORA_EXPORT Utf8Character firstCharacter(std::string_view text);

}  // namespace vellora
