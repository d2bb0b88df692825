#pragma once

#include <string>
#include <string_view>

namespace vellora::hostkit {

/// Each byte as two hexadecimal digits, in small letters: "00ff" for 0 and 255.
[[nodiscard]] std::string hexDigits(std::string_view bytes);

}  // namespace vellora::hostkit
