#include "apps/vellora/lookups/CompactLayouts.h"

#include <cstddef>

#include "vellora/Catalog/AnswerDocument.h"

namespace vellora::command {

namespace {

/// Adds the fields; the parts of a compound field stand below it, further in.
void addRows(RowGroup& group, const CompactLayoutFields& fields, const Value& whole, std::size_t depth) {
  for (const auto& field : fields) {
    const Value target = field->referenceTo ? Value(*field->referenceTo) : Value();
    group.rows.push_back(
        {{group.heading, field->label, field->apiName, field->fieldType, target, whole}, depth});
    if (field->layoutFields) addRows(group, *field->layoutFields, field->apiName, depth + 1);
  }
}

std::vector<RowGroup> groupsOf(const InOrder<ObjectCompactLayoutInfo>& found, CorvaneSDK::Cache& /*cache*/) {
  std::vector<RowGroup> groups;
  for (const auto* entry : found) {
    const auto& [type, layout] = *entry;
    RowGroup group{type, {}};
    addRows(group, layout.layoutFields, Value(), 0);
    groups.push_back(std::move(group));
  }
  return groups;
}

}  // namespace

Lookup<ObjectCompactLayoutInfo> compactLayouts() {
  return {.what = "compact layout",
          .ask = &Catalog::headlines,
          .columns = {{"type", "TYPE", Column::Shown::scripts},
                      {"label", "LABEL"},
                      {"field", "FIELD"},
                      {"fieldType", "TYPE"},
                      {"referenceTo", "REFERS TO"},
                      {"partOf", "PART OF", Column::Shown::scripts}},
          .groups = groupsOf,
          .document = headlinesDocument,
          .hasHeadings = true,
          .ifEmpty = "no fields"};
}

}  // namespace vellora::command
