#include "bench/Table.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace vellora::bench {

namespace {

using Cells = std::array<std::string, 6>;

std::string rounded(double number, int decimals) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.*f", decimals, number);
  return text.data();
}

// Three digits, since the noise of the measurement makes any further ones meaningless.
std::string threeDigits(double number) {
  return rounded(number, number < 10 ? 2 : number < 100 ? 1 : 0);
}

bool isWithin(const Table::Line& line, double bound) {
  return line.ratio && (line.isLowerBound ? *line.ratio >= bound : *line.ratio <= bound);
}

bool isMet(const Table::Line& line) {
  return !line.bound || isWithin(line, *line.bound);
}

std::string goalOf(const Table::Line& line) {
  if (!line.bound) return "reported";
  const std::string goal = (line.isLowerBound ? "≥ " : "≤ ") + threeDigits(*line.bound);
  return line.accepted ? goal + " (" + threeDigits(*line.accepted) + ")" : goal;
}

std::string outcomeOf(const Table::Line& line) {
  if (!line.bound) return "";
  return isMet(line) ? "met" : line.isKept() ? "missed" : "MISSED";
}

Cells cellsOf(const Table::Line& line) {
  return {line.what,    line.ours,      line.against, line.ratio ? threeDigits(*line.ratio) : "",
          goalOf(line), outcomeOf(line)};
}

// In characters: counts the bytes of UTF-8 that are not continuations, one for each character.
std::size_t width(const std::string& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

void printRow(std::ostream& out, const Cells& cells, const std::array<std::size_t, 6>& widths) {
  for (std::size_t column = 0; column < cells.size(); ++column) {
    out << "| " << cells[column] << std::string(widths[column] - width(cells[column]) + 1, ' ');
  }
  out << "|\n";
}

}  // namespace

bool Table::Line::isKept() const {
  return isMet(*this) || (accepted && isWithin(*this, *accepted));
}

void Table::add(Line line) {
  if (line.ours.empty()) noteFailure();
  lines_.push_back(std::move(line));
}

bool Table::isKept() const {
  return !failed_ &&
         std::all_of(lines_.begin(), lines_.end(), [](const Line& line) { return line.isKept(); });
}

void Table::print(std::ostream& out) const {
  std::vector<Cells> rows{{"what", "ours", "against", "ratio", "goal", ""}};
  for (const auto& line : lines_) rows.push_back(cellsOf(line));
  std::array<std::size_t, 6> widths{};
  for (const auto& row : rows) {
    for (std::size_t column = 0; column < row.size(); ++column) {
      widths[column] = std::max({widths[column], width(row[column]), std::size_t{3}});
    }
  }
  Cells rule;
  for (std::size_t column = 0; column < rule.size(); ++column)
    rule[column] = std::string(widths[column], '-');
  rows.insert(rows.begin() + 1, rule);
  for (const auto& row : rows) printRow(out, row, widths);
  for (const auto& line : lines_) {
    if (line.details.empty()) continue;
    out << '\n' << line.what << ":\n\n";
    for (const auto& detail : line.details) out << "- " << detail << '\n';
  }
  if (failed_) out << "\nSomething could not be measured; see above.\n";
}

std::string Table::time(double nanoseconds) {
  if (nanoseconds < 1e3) return threeDigits(nanoseconds) + " ns";
  if (nanoseconds < 1e6) return threeDigits(nanoseconds / 1e3) + " µs";
  return threeDigits(nanoseconds / 1e6) + " ms";
}

std::string Table::size(double bytes) {
  return bytes < 1e6 ? threeDigits(bytes / 1e3) + " KB" : threeDigits(bytes / 1e6) + " MB";
}

}  // namespace vellora::bench
