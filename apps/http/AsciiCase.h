#pragma once

#include <algorithm>
#include <string_view>

namespace vellora::http {

/// Equality of names, such as those of headers, in which the case of ASCII letters does not matter.
[[nodiscard]] inline bool equalIgnoringCase(std::string_view left, std::string_view right) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [lower](char a, char b) { return lower(a) == lower(b); });
}

}  // namespace vellora::http
