#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vellora::json {

/// Where in a document reading or writing failed. It is built from the inside out, while the failure is
/// handed up, so that a success pays nothing for it.
class Path {
 public:
  /// Adds a step in front: the path so far lies under member `key`, or under element `index`.
  void under(std::string_view key) { steps_.emplace_back(std::string(key)); }
  void under(std::size_t index) { steps_.emplace_back(index); }

  void clear() { steps_.clear(); }

  /// Such as `$.sobjects[3].createable`; a key that is no plain name is quoted: `$["a b"]`. One line of
  /// bounded length, whatever the keys hold: long keys are cut, and of very many steps those in the middle
  /// are left out.
  [[nodiscard]] std::string text() const;

 private:
  using Step = std::variant<std::string, std::size_t>;

  std::vector<Step> steps_;  // innermost first
};

}  // namespace vellora::json
