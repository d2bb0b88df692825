#include "apps/vellora/command/RowText.h"

#include <string_view>
#include <utility>

#include "apps/vellora/command/TextTable.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Text/EscapedText.h"

namespace vellora::command {

namespace {

using Chosen = std::vector<std::size_t>;

/// A number as JSON writes it, which reads back equal.
template <class Number>
std::string numberText(Number number) {
  const auto text = json::encode(number);
  return text ? std::string(text.value().view()) : std::string();
}

std::string plainText(const Value& value, const char* yes, const char* no) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* flag = std::get_if<bool>(&value)) return *flag ? yes : no;
  if (const auto* count = std::get_if<std::int64_t>(&value)) return numberText(*count);
  if (const auto* number = std::get_if<double>(&value)) return numberText(*number);
  return {};
}

std::string tableOf(const RowGroup& group, const Rows& rows, const Chosen& chosen, const Style& style,
                    std::optional<std::size_t> mostColumns) {
  std::vector<Cell> header;
  for (const auto index : chosen) header.emplace_back(rows.columns[index].heading);
  TextTable table(std::move(header));
  for (const auto& row : group.rows) {
    std::vector<Cell> cells;
    for (const auto index : chosen) {
      const bool isIndented = std::holds_alternative<std::string>(row.values[index]) && cells.size() < 2;
      const std::string text = plainText(row.values[index], "yes", "no");
      const std::string indent(isIndented ? 2 * row.depth : 0, ' ');
      cells.emplace_back(indent + text, rows.columns[index].isColor ? style.swatch(text) : "");
    }
    table.addRow(std::move(cells));
  }
  return table.text(rows.hasHeadings ? "  " : "", mostColumns);
}

std::string quotedForCsv(const std::string& text) {
  const bool isBare =
      text.find_first_of(",\"") == std::string::npos && !text.starts_with(' ') && !text.ends_with(' ');
  if (isBare) return text;
  std::string quoted = "\"";
  for (const char c : text) quoted.append(c == '"' ? 2 : 1, c);
  return quoted + '"';
}

std::string separated(const std::string& text, Format format) {
  const std::string line = escapedText(text);
  return format == Format::csv ? quotedForCsv(line) : line;
}

std::string separatedRow(const Row& row, const Chosen& chosen, Format format) {
  std::string line;
  for (std::size_t place = 0; place < chosen.size(); ++place) {
    if (place > 0) line += format == Format::csv ? ',' : '\t';
    line += separated(plainText(row.values[chosen[place]], "true", "false"), format);
  }
  return line + '\n';
}

std::string jsonOf(const Value& value) {
  const auto* text = std::get_if<std::string>(&value);
  if (text == nullptr) return plainText(value, "true", "false");
  const auto json = json::encode(*text);
  return json ? std::string(json.value().view()) : "null";  // no server's text: those are UTF-8
}

std::string jsonRow(const Row& row, const Rows& rows, const Chosen& chosen) {
  std::string line;
  for (const auto index : chosen) {
    const std::string value = jsonOf(row.values[index]);
    if (value.empty()) continue;
    line.append(line.empty() ? "{" : ",").append("\"" + rows.columns[index].name + "\":").append(value);
  }
  return escapedJson(line.empty() ? "{" : line) + "}\n";
}

std::string headerLine(const Rows& rows, const Chosen& chosen, Format format) {
  std::string line;
  for (const auto index : chosen) {
    if (!line.empty()) line += format == Format::csv ? ',' : '\t';
    line += rows.columns[index].name;
  }
  return line + '\n';
}

}  // namespace

std::string tableText(const Rows& rows, const Chosen& chosen, const Style& style,
                      std::optional<std::size_t> mostColumns) {
  std::string text;
  for (const auto& group : rows.groups) {
    if (rows.hasHeadings) text += style.heading(group.heading) + "\n";
    if (!group.rows.empty()) {
      text += tableOf(group, rows, chosen, style, mostColumns);
    } else if (rows.hasHeadings) {
      text += "  " + rows.ifEmpty + "\n";
    }
  }
  return text;
}

std::string scriptText(const Rows& rows, const Chosen& chosen, Format format) {
  const bool isJson = format == Format::jsonl;
  std::string text = isJson ? std::string() : headerLine(rows, chosen, format);
  for (const auto& group : rows.groups) {
    for (const auto& row : group.rows)
      text += isJson ? jsonRow(row, rows, chosen) : separatedRow(row, chosen, format);
  }
  return text;
}

std::string rowText(const Rows& rows, const Chosen& chosen, const OutputArguments& output) {
  if (!output.prints(Format::table)) return scriptText(rows, chosen, *output.format);
  return tableText(rows, chosen, Style::ofOutput(output.color), output.wide ? std::nullopt : outputColumns());
}

}  // namespace vellora::command
