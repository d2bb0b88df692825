#include "apps/vellora/lookups/Presentation.h"

#include "apps/vellora/command/TextTable.h"

namespace vellora::command {

namespace {

std::string lists(const std::optional<PresentationInfo>& instance) {
  if (!instance) return {};
  return instance->labelPlural.value_or(instance->apiName()) + " (" + instance->apiName() + ")";
}

std::string textOf(const std::map<std::string, ObjectPresentationInfo>& infos, const Style& style) {
  if (infos.empty()) return {};
  TextTable table({"KEY", "LABEL", "PLURAL", "API NAME", "COLOUR", "CREATEABLE", "LISTS", "VECTOR ICON",
                   "SMALL ICON", "LARGE ICON"});
  for (const auto& [key, info] : infos) {
    const PresentationInfo& type = info.typePresentationInfo;
    const std::string color = type.color.value_or("");
    table.addRow({key, type.label.value_or(""), type.labelPlural.value_or(""), type.apiName(),
                  Cell(color, style.swatch(color)), type.createable ? "yes" : "no",
                  lists(info.instancePresentationInfo), type.svgIconUrl.value_or(""),
                  type.smallIconUrl.value_or(""), type.largeIconUrl.value_or("")});
  }
  return table.text("");
}

}  // namespace

Lookup<ObjectPresentationInfo> presentationForIds() {
  return {"object type", &Catalog::records, textOf, /*isNullWhenItFails=*/true};
}

Lookup<ObjectPresentationInfo> presentationForNames() {
  return {"object type", &Catalog::types, textOf};
}

}  // namespace vellora::command
