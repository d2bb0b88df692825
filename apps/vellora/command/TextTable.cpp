#include "apps/vellora/command/TextTable.h"

#include <algorithm>
#include <clocale>
#include <cwchar>
#include <cwctype>
#include <utility>

#include "vellora/Platform/Text/EscapedText.h"

namespace vellora::command {

namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";

/// Made once: making it reads a file.
locale_t utf8() {
  static const locale_t locale = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  return locale;
}

/// Makes the C library read UTF-8 on this thread, whatever the user's locale, and puts things back.
class Utf8Locale {
 public:
  Utf8Locale() {
    if (utf8() != nullptr) previous_ = ::uselocale(utf8());
  }
  ~Utf8Locale() {
    if (utf8() != nullptr) ::uselocale(previous_);
  }
  Utf8Locale(const Utf8Locale&) = delete;
  Utf8Locale& operator=(const Utf8Locale&) = delete;

 private:
  locale_t previous_ = nullptr;
};

/// Calls `visit(bytes, width)` for each character; the width is negative for what must not reach a terminal.
template <class Visit>
void forEachCharacter(std::string_view text, Visit visit) {
  const Utf8Locale locale;
  while (!text.empty()) {
    std::mbstate_t state{};
    wchar_t character = 0;
    const std::size_t length = std::mbrtowc(&character, text.data(), text.size(), &state);
    const bool isWhole = length > 0 && length <= text.size();
    visit(text.substr(0, isWhole ? length : 1), isWhole ? ::wcwidth(character) : -1);
    text.remove_prefix(isWhole ? length : 1);
  }
}

}  // namespace

std::string printable(std::string_view text) {
  std::string shown;
  forEachCharacter(escapedText(text),
                   [&](std::string_view bytes, int width) { shown += width < 0 ? replacement : bytes; });
  return shown;
}

std::string fitted(std::string_view text, std::size_t columns) {
  const std::size_t mostBytes = columns * 16;  // marks that combine with a letter take no column
  std::string shown;
  std::size_t width = 0;
  std::size_t cut = 0;  // where the ellipsis still fits behind
  forEachCharacter(text.substr(0, mostBytes), [&](std::string_view bytes, int) {
    if (width > columns) return;
    const std::string next = printable(bytes);
    width += displayWidth(next);
    shown += next;
    if (width < columns) cut = shown.size();
  });
  if (text.size() <= mostBytes && width <= columns) return shown;
  return shown.erase(cut).append("…");
}

std::size_t displayWidth(std::string_view text) {
  std::size_t columns = 0;
  forEachCharacter(
      text, [&](std::string_view, int width) { columns += width < 0 ? 1 : static_cast<std::size_t>(width); });
  return columns;
}

std::size_t Cell::width() const {
  return displayWidth(text) + (swatch.empty() ? 0 : swatchWidth);
}

TextTable::TextTable(std::vector<Cell> header) : widths_(header.size()) {
  addRow(std::move(header));
}

void TextTable::addRow(std::vector<Cell> cells) {
  for (std::size_t column = 0; column < cells.size(); ++column) {
    cells[column].text = fitted(cells[column].text, mostColumns);
    widths_[column] = std::max(widths_[column], cells[column].width());
  }
  rows_.push_back(std::move(cells));
}

std::vector<std::size_t> TextTable::widthsWithin(std::size_t mostWidth) const {
  auto widths = widths_;
  std::size_t total = gap * (widths.size() - 1);
  for (const auto width : widths) total += width;
  while (total > mostWidth) {
    const auto widest = std::max_element(widths.begin(), widths.end());
    if (*widest <= fewestColumns) break;
    --*widest;
    --total;
  }
  return widths;
}

std::string TextTable::text(std::string_view indent, std::optional<std::size_t> mostWidth) const {
  const std::size_t room = mostWidth ? *mostWidth - std::min(*mostWidth, indent.size()) : 0;
  const auto widths = mostWidth ? widthsWithin(room) : widths_;
  std::string lines;
  for (const auto& row : rows_) {
    std::string line(indent);
    for (std::size_t column = 0; column < row.size(); ++column) {
      Cell cell = row[column];
      if (cell.width() > widths[column])
        cell.text = fitted(cell.text, widths[column] - (cell.width() - displayWidth(cell.text)));
      line.append(cell.swatch).append(cell.text).append(widths[column] + gap - cell.width(), ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    lines.append(line).append("\n");
  }
  return lines;
}

}  // namespace vellora::command
