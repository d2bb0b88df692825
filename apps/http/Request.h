#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vellora::http {

/// A request as a server received it.
struct Request {
  std::string method;
  /// Path and query part, byte for byte.
  std::string target;
  /// Names and values in the order in which they came.
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body = {};

  /// Method and target: "GET /services/data/v50.0/theme".
  [[nodiscard]] std::string line() const { return method + " " + target; }

  /// The value of the first header of that name, whose case doesn't matter.
  [[nodiscard]] std::optional<std::string> header(std::string_view name) const;

  /// How many headers of that name there are.
  [[nodiscard]] std::size_t count(std::string_view name) const;
};

}  // namespace vellora::http
