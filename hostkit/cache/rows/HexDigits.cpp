#include "hostkit/cache/rows/HexDigits.h"

namespace vellora::hostkit {

std::string hexDigits(std::string_view bytes) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string hex;
  for (const char next : bytes) {
    const auto byte = static_cast<unsigned char>(next);
    hex.append({digits[byte >> 4U], digits[byte & 15U]});
  }
  return hex;
}

}  // namespace vellora::hostkit
