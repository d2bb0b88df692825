#include "apps/vellora/lookups/CompactLayouts.h"

#include "apps/vellora/command/TextTable.h"

namespace vellora::command {

namespace {

/// Adds the fields to the table; the parts of a compound field stand below it, further in.
void addRows(const CompactLayoutFields& fields, const std::string& indent, TextTable& table) {
  for (const auto& field : fields) {
    table.addRow(
        {indent + field->label, indent + field->apiName, field->fieldType, field->referenceTo.value_or("")});
    if (field->layoutFields) addRows(*field->layoutFields, indent + "  ", table);
  }
}

std::string textOf(const std::map<std::string, ObjectCompactLayoutInfo>& layouts, const Style& style) {
  std::string text;
  for (const auto& [type, layout] : layouts) {
    text += style.heading(type) + "\n";
    if (layout.layoutFields.empty()) {
      text += "  no fields\n";
      continue;
    }
    TextTable table({"LABEL", "FIELD", "TYPE", "REFERS TO"});
    addRows(layout.layoutFields, "", table);
    text += table.text("  ");
  }
  return text;
}

}  // namespace

Lookup<ObjectCompactLayoutInfo> compactLayouts() {
  return {"compact layout", &Catalog::headlines, textOf};
}

}  // namespace vellora::command
