#pragma once

#include <algorithm>
#include <string_view>

namespace vellora::recordsserver {

/// Equality of names and keywords of the query language, in which the case of ASCII letters doesn't matter.
[[nodiscard]] inline bool equalIgnoringCase(std::string_view left, std::string_view right) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [lower](char a, char b) { return lower(a) == lower(b); });
}

}  // namespace vellora::recordsserver
