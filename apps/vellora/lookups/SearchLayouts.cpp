#include "apps/vellora/lookups/SearchLayouts.h"

#include "vellora/Catalog/AnswerDocument.h"

namespace vellora::command {

namespace {

std::vector<RowGroup> groupsOf(const InOrder<ObjectLayoutInfo>& found, CorvaneSDK::Cache& /*cache*/) {
  std::vector<RowGroup> groups;
  for (const auto* entry : found) {
    const auto& [type, layout] = *entry;
    RowGroup group{type, {}};
    for (const auto& column : layout.searchColumns) {
      const Value format = column.format ? Value(*column.format) : Value();
      group.rows.push_back({{type, column.label, column.name, column.field, format}});
    }
    groups.push_back(std::move(group));
  }
  return groups;
}

}  // namespace

Lookup<ObjectLayoutInfo> searchLayouts() {
  return {.what = "search layout",
          .ask = &Catalog::searchColumns,
          .columns = {{"type", "TYPE", Column::Shown::scripts},
                      {"label", "LABEL"},
                      {"name", "NAME"},
                      {"field", "FIELD"},
                      {"format", "FORMAT"}},
          .groups = groupsOf,
          .document = searchColumnsDocument,
          .hasHeadings = true,
          .ifEmpty = "no columns"};
}

}  // namespace vellora::command
