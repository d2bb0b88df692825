#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vellora::http {

/// A request's target, taken apart.
struct Target {
  /// As it was sent, without the query part; not percent-decoded, since no path of ours needs it.
  std::string path;
  /// The query's names and values in their order, as they were sent.
  std::vector<std::pair<std::string, std::string>> items;

  [[nodiscard]] static Target parse(std::string_view target);

  /// The value of the first item of that name as it was sent; no value when there is no such item.
  [[nodiscard]] std::optional<std::string> encodedItem(std::string_view name) const;
};

/// Exactly what the client put in: a `+` is a plus. No value when a percent sign has no two hexadecimal
/// digits behind it.
[[nodiscard]] std::optional<std::string> percentDecoded(std::string_view text);

}  // namespace vellora::http
