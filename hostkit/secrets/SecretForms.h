#pragma once

#include <string>
#include <string_view>

namespace vellora::hostkit {

// The forms in which a text may hold a secret. All are in lower case: a search disregards case.

/// Back to front.
[[nodiscard]] std::string reversed(std::string_view secret);

/// Its letters and digits only, as they follow each other when something was put in between.
[[nodiscard]] std::string lettersAndDigits(std::string_view secret);

/// As a URL has it: what is neither letter nor digit is escaped, such as "a%2fb".
[[nodiscard]] std::string percentEncoded(std::string_view secret);

/// Each byte as two hexadecimal digits behind `before`: "612f62", "%61%2f%62", "\\u0061\\u002f\\u0062".
[[nodiscard]] std::string hexadecimal(std::string_view secret, std::string_view before = {});

/// The whole groups of its Base64 with these digits 62 and 63, "+/" or "-_".
[[nodiscard]] std::string base64(std::string_view secret, std::string_view lastDigits);

}  // namespace vellora::hostkit
