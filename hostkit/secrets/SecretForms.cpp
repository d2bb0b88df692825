#include "hostkit/secrets/SecretForms.h"

#include <algorithm>
#include <cstddef>

#include "vellora/Platform/Text/AsciiCase.h"

namespace vellora::hostkit {

namespace {

bool isLetterOrDigit(char c) {
  return (c >= '0' && c <= '9') || (asciiLowerCase(c) >= 'a' && asciiLowerCase(c) <= 'z');
}

void appendHex(std::string& out, char byte) {
  constexpr std::string_view digits = "0123456789abcdef";
  const auto value = static_cast<unsigned char>(byte);
  out += digits[value / 16];
  out += digits[value % 16];
}

}  // namespace

std::string reversed(std::string_view secret) {
  return asciiLowerCase(std::string(secret.rbegin(), secret.rend()));
}

std::string lettersAndDigits(std::string_view secret) {
  std::string kept = asciiLowerCase(secret);
  std::erase_if(kept, [](char c) { return !isLetterOrDigit(c); });
  return kept;
}

std::string percentEncoded(std::string_view secret) {
  std::string encoded;
  for (const char c : secret) {
    if (isLetterOrDigit(c)) {
      encoded += asciiLowerCase(c);
    } else {
      appendHex(encoded += '%', c);
    }
  }
  return encoded;
}

std::string hexadecimal(std::string_view secret, std::string_view before) {
  std::string encoded;
  encoded.reserve(secret.size() * (before.size() + 2));
  for (const char c : secret) appendHex(encoded += before, c);
  return encoded;
}

std::string base64(std::string_view secret, std::string_view lastDigits) {
  const auto digits =
      std::string("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789").append(lastDigits);
  std::string encoded;
  encoded.reserve(secret.size() / 3 * 4);
  for (; secret.size() >= 3; secret.remove_prefix(3)) {
    unsigned bits = 0;
    for (std::size_t at = 0; at < 3; ++at) bits = bits << 8U | static_cast<unsigned char>(secret[at]);
    for (const unsigned shift : {18U, 12U, 6U, 0U}) encoded += digits[bits >> shift & 63U];
  }
  return asciiLowerCase(encoded);
}

}  // namespace vellora::hostkit
