#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "vellora/Platform/Json/DecodingError.h"

namespace vellora::json {

/// Finds the byte at which `text` stops being JSON, and says why; no value when nothing is wrong with it. The
/// first byte of `text` has the number `firstByte`, such as 3 behind a byte order mark. Numbers may have any
/// size. This is a second parser, at a third of the pace of the one that reads documents, so ask only when
/// that one has refused the text.
[[nodiscard]] std::optional<DecodingError> findSyntaxError(std::string_view text, std::size_t firstByte);

}  // namespace vellora::json
