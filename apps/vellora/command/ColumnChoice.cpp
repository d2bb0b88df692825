#include "apps/vellora/command/ColumnChoice.h"

#include <algorithm>
#include <string>

#include "apps/vellora/command/NearestName.h"
#include "apps/vellora/command/Output.h"
#include "vellora/Platform/Text/AsciiCase.h"

namespace vellora::command {

namespace {

using Chosen = std::vector<std::size_t>;

Chosen columnsOfFormat(const std::vector<Column>& columns, const OutputArguments& output) {
  Chosen chosen;
  for (std::size_t index = 0; index < columns.size(); ++index) {
    const auto shown = columns[index].shown;
    const bool isInTable = shown == Column::Shown::always || (shown == Column::Shown::wide && output.wide);
    if (isInTable || !output.prints(Format::table)) chosen.push_back(index);
  }
  return chosen;
}

Problem unknownColumn(const std::string& name, const std::vector<Column>& columns) {
  std::vector<std::string> names;
  std::string list;
  for (const auto& column : columns) {
    names.push_back(column.name);
    list.append(list.empty() ? "" : ", ").append(column.name);
  }
  const auto near = nearestName(name, names);
  return {ExitCode::usage, "there is no column " + keyText(name) +
                               (near ? "; did you mean " + *near + "?" : "") + "; there are " + list};
}

}  // namespace

std::variant<Chosen, Problem> chosenColumns(const std::vector<Column>& columns,
                                            const OutputArguments& output) {
  if (output.columns.empty()) return columnsOfFormat(columns, output);
  Chosen chosen;
  for (const auto& name : output.columns) {
    const auto found = std::find_if(columns.begin(), columns.end(), [&](const Column& column) {
      return equalIgnoringAsciiCase(column.name, name);
    });
    if (found == columns.end()) return unknownColumn(name, columns);
    chosen.push_back(static_cast<std::size_t>(found - columns.begin()));
  }
  return chosen;
}

}  // namespace vellora::command
