#include "apps/vellora/lookups/SearchLayouts.h"

#include <utility>

#include "apps/vellora/command/TextTable.h"
#include "apps/vellora/lookups/ByObjectType.h"
#include "vellora/DataServices/LayoutDataService.h"

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

Lookup<ObjectLayoutInfo> searchLayouts(const Arguments& arguments, const Session& session) {
  const auto service = std::make_shared<LayoutDataService>(session.api(), arguments.cacheTimeout);
  const auto start = [service](const std::vector<std::string>& names, auto completion) {
    service->layoutForApiName(names, [completion = std::move(completion)](const auto& layouts, const auto&) {
      completion(layouts ? std::optional(byObjectType(*layouts)) : std::nullopt);
    });
  };
  return {"search layout", start, textOfAll};
}

}  // namespace vellora::command
