#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vellora::command {

/// The text with everything replaced that a terminal would obey instead of showing: control characters and
/// bytes that are not UTF-8 become U+FFFD.
[[nodiscard]] std::string printable(std::string_view text);

/// How many columns a terminal needs for a printable text.
[[nodiscard]] std::size_t displayWidth(std::string_view text);

/// Lines up cells of text, whatever script they are in.
class TextTable {
 public:
  explicit TextTable(std::vector<std::string> header);

  /// Adds a row with as many cells as the header has; they are made printable.
  void addRow(std::vector<std::string> cells);

  /// The lines, each behind `indent`, without blanks at their ends.
  [[nodiscard]] std::string text(std::string_view indent) const;

 private:
  std::vector<std::vector<std::string>> rows_;
  std::vector<std::size_t> widths_;
};

}  // namespace vellora::command
