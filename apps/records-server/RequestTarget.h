#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vellora::recordsserver {

/// A request's target, taken apart.
struct RequestTarget {
  /// As it was sent, without the query part; not percent-decoded, since no path of ours needs it.
  std::string path;
  /// The value of the first query item "q", percent-decoded: exactly what the client put in. A `+` is a plus.
  std::optional<std::string> q;

  /// Nothing when the target has a percent sign without two hexadecimal digits behind it in its item "q".
  [[nodiscard]] static std::optional<RequestTarget> parse(std::string_view target);
};

}  // namespace vellora::recordsserver
