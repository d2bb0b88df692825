#include "apps/vellora/changes/DifferenceText.h"

#include <optional>
#include <utility>

#include "apps/vellora/command/RowText.h"

namespace vellora::command {

namespace {

/// A person is shown that there is nothing; a script finds nothing there.
Value valueOf(const std::optional<std::string>& text, bool isTable) {
  if (text) return *text;
  return isTable ? Value(std::string("-")) : Value();
}

void addRows(const Difference& difference, bool isTable, RowGroup& group) {
  const auto& [what, name, change, properties] = difference;
  if (properties.empty()) group.rows.push_back({{change, what, name, {}, {}, {}}});
  for (const auto& [property, before, after] : properties)
    group.rows.push_back({{change, what, name, property, valueOf(before, isTable), valueOf(after, isTable)}});
}

}  // namespace

const std::vector<Column>& differenceColumns() {
  static const std::vector<Column> all{{"change", "CHANGE"},     {"what", "WHAT"},     {"name", "NAME"},
                                       {"property", "PROPERTY"}, {"before", "BEFORE"}, {"after", "AFTER"}};
  return all;
}

std::string differenceText(const std::vector<Difference>& differences, const std::vector<std::size_t>& chosen,
                           const OutputArguments& output) {
  RowGroup group;
  for (const auto& difference : differences) addRows(difference, output.prints(Format::table), group);
  return rowText({differenceColumns(), {std::move(group)}}, chosen, output);
}

}  // namespace vellora::command
