#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vellora::recordsserver {

/// A request as the server received it.
struct RecordedRequest {
  std::string method;
  /// Path and query part, byte for byte.
  std::string target;
  /// Names and values in the order in which they came.
  std::vector<std::pair<std::string, std::string>> headers;

  /// Method and target: "GET /services/data/v50.0/theme".
  [[nodiscard]] std::string line() const { return method + " " + target; }

  /// The value of the first header of that name, whose case doesn't matter.
  [[nodiscard]] std::optional<std::string> header(std::string_view name) const;
};

}  // namespace vellora::recordsserver
