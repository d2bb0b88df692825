#include "apps/vellora/lookups/SearchLayouts.h"

#include "apps/vellora/command/TextTable.h"

namespace vellora::command {

namespace {

std::string textOf(const std::string& type, const ObjectLayoutInfo& layout, const Style& style) {
  std::string text = style.heading(type) + "\n";
  if (layout.searchColumns.empty()) return text + "  no columns\n";
  TextTable table({"LABEL", "NAME", "FIELD", "FORMAT"});
  for (const auto& column : layout.searchColumns) {
    table.addRow({column.label, column.name, column.field, column.format.value_or("")});
  }
  return text + table.text("  ");
}

std::string textOfAll(const std::map<std::string, ObjectLayoutInfo>& layouts, const Style& style) {
  std::string text;
  for (const auto& [type, layout] : layouts) text += textOf(type, layout, style);
  return text;
}

}  // namespace

Lookup<ObjectLayoutInfo> searchLayouts() {
  return {"search layout", &Catalog::searchColumns, textOfAll};
}

}  // namespace vellora::command
