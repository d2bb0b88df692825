#include "apps/vellora/SearchLayouts.h"

#include <utility>

#include "apps/vellora/TextTable.h"
#include "vellora/DataServices/LayoutDataService.h"

namespace vellora::command {

namespace {

std::string textOf(const std::string& key, const ObjectLayoutInfo& layout, const Style& style) {
  std::string text = style.heading(key) + "\n";
  if (layout.searchColumns.empty()) return text + "  no columns\n";
  TextTable table({"LABEL", "NAME", "FIELD", "FORMAT"});
  for (const auto& column : layout.searchColumns) {
    table.addRow({column.label, column.name, column.field, column.format.value_or("")});
  }
  return text + table.text("  ");
}

}  // namespace

Lookup<ObjectLayoutInfo> searchLayouts(const Arguments& arguments, const Session& session) {
  const auto service = std::make_shared<LayoutDataService>(session.api(), arguments.cacheTimeout);
  const auto start = [service](const std::vector<std::string>& names, auto completion) {
    service->layoutForApiName(names, [completion = std::move(completion)](const auto& layouts, const auto&) {
      if (!layouts) return completion(std::nullopt);
      std::map<std::string, ObjectLayoutInfo> byType;
      for (const auto& layout : *layouts) byType.insert_or_assign(layout.objectType, layout);
      completion(std::move(byType));
    });
  };
  return {"search layout", start, textOf};
}

}  // namespace vellora::command
