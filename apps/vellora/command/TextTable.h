#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vellora::command {

/// The text with everything replaced that a terminal would obey instead of showing, as log lines have it
/// (`escapedText`); what a terminal cannot show becomes U+FFFD.
[[nodiscard]] std::string printable(std::string_view text);

/// The same in `columns` columns at most, 1 or more: what is longer is cut and ends in "…".
[[nodiscard]] std::string fitted(std::string_view text, std::size_t columns);

/// How many columns a terminal needs for a printable text.
[[nodiscard]] std::size_t displayWidth(std::string_view text);

/// One cell: its text, and what is shown before it and takes `swatchWidth` columns, such as a colour's
/// swatch.
struct Cell {
  static constexpr std::size_t swatchWidth = 3;

  Cell(std::string cellText, std::string cellSwatch = {})  // NOLINT: converts on purpose
      : text(std::move(cellText)), swatch(std::move(cellSwatch)) {}
  Cell(const char* cellText) : text(cellText) {}  // NOLINT: converts on purpose

  [[nodiscard]] std::size_t width() const;

  std::string text;
  std::string swatch;
};

/// Lines up cells of text, whatever script they are in.
class TextTable {
 public:
  /// Of a cell: a longer text is cut, or one label of a server would widen every row.
  static constexpr std::size_t mostColumns = 120;

  explicit TextTable(std::vector<Cell> header);

  /// Adds a row with as many cells as the header has; their texts are made printable
  /// and fitted into `mostColumns`.
  void addRow(std::vector<Cell> cells);

  /// The lines, each behind `indent`, without blanks at their ends. Where `mostWidth` columns are all that
  /// there is, the widest columns are cut first, none of them to less than `fewestColumns`.
  [[nodiscard]] std::string text(std::string_view indent,
                                 std::optional<std::size_t> mostWidth = std::nullopt) const;

 private:
  static constexpr std::size_t fewestColumns = 8;
  static constexpr std::size_t gap = 2;

  [[nodiscard]] std::vector<std::size_t> widthsWithin(std::size_t mostWidth) const;

  std::vector<std::vector<Cell>> rows_;
  std::vector<std::size_t> widths_;
};

}  // namespace vellora::command
