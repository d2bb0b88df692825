#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "vellora/Platform/Json/DecodingError.h"

namespace vellora::json {

/// Finds the byte at which `text`, which a parser has refused, stops being JSON, and says why; no value when
/// nothing is wrong with it. Bytes are counted from `firstByte`, the number of the text's first byte. This
/// reads the text a second time, at a third of the pace, so ask only after a failure.
[[nodiscard]] std::optional<DecodingError> findSyntaxError(std::string_view text, std::size_t firstByte);

}  // namespace vellora::json
