#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace vellora {

/// `character` in lower case when it is one of the letters A to Z of ASCII, else as it is.
///
/// Unlike `std::tolower` it asks no locale: names in HTTP and in queries mean the same on every machine.
[[nodiscard]] constexpr char asciiLowerCase(char character) noexcept {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

/// `character` in upper case when it is one of the letters a to z of ASCII, else as it is.
[[nodiscard]] constexpr char asciiUpperCase(char character) noexcept {
  return character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A') : character;
}

/// `text` with each of its ASCII letters in lower case; "Content-Type" becomes "content-type". All other
/// bytes stay, those of characters outside ASCII included, so the length stays, too.
[[nodiscard]] inline std::string asciiLowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) { return asciiLowerCase(c); });
  return lower;
}

/// True when the texts differ at most in the case of ASCII letters, as names of headers may: "Accept" and
/// "ACCEPT" are one name.
[[nodiscard]] inline bool equalIgnoringAsciiCase(std::string_view left, std::string_view right) noexcept {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](char a, char b) { return asciiLowerCase(a) == asciiLowerCase(b); });
}

}  // namespace vellora
