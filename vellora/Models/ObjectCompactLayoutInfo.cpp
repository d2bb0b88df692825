#include "vellora/Models/ObjectCompactLayoutInfo.h"

#include <iterator>
#include <utility>

#include "vellora/Models/FieldItem.h"
#include "vellora/Models/ObjectCompactLayoutInfoCodec.h"

namespace vellora {

namespace {

using Label = std::optional<std::string>;

CompactLayoutFields flattened(const std::vector<LayoutComponent>& components, const Label& label);

std::shared_ptr<CompactLayoutField> makeField(const LayoutComponent& component,
                                              const LayoutComponentDetails& details, const Label& label) {
  std::optional<CompactLayoutFields> nested;
  if (component.components) nested = flattened(*component.components, std::nullopt);
  const auto& targets = details.referenceTo;
  return std::make_shared<CompactLayoutField>(CompactLayoutField::Content{
      .apiName = component.value,
      .fieldType = details.type,
      .label = label.value_or(details.label),
      .referenceTo = targets.empty() ? std::nullopt : std::optional(targets.front()),
      .relationshipName = details.relationshipName,
      .htmlFormatted = details.htmlFormatted,
      .layoutFields = std::move(nested),
  });
}

// A component without details is no field, and what it is made of is none of the layout's either.
CompactLayoutFields flattened(const std::vector<LayoutComponent>& components, const Label& label) {
  CompactLayoutFields fields;
  for (const auto& component : components) {
    if (component.details) fields.push_back(makeField(component, *component.details, label));
  }
  return fields;
}

// All components of a line are labelled as the line is; the parts of a compound field have their own labels.
CompactLayoutFields flattened(const std::vector<FieldItem>& items) {
  CompactLayoutFields fields;
  for (const auto& item : items) {
    auto ofItem = flattened(item.layoutComponents, item.label);
    std::move(ofItem.begin(), ofItem.end(), std::back_inserter(fields));
  }
  return fields;
}

}  // namespace

bool json::OwnForm<ObjectCompactLayoutInfo>::decode(const Reader& reader, ObjectCompactLayoutInfo& out) {
  if (!reader.member("objectType", out.objectType)) return false;
  if (reader.tryMember("layoutFields", out.layoutFields)) return true;
  std::vector<FieldItem> items;
  if (!reader.member("fieldItems", items)) return false;
  out.layoutFields = flattened(items);
  return true;
}

bool json::OwnForm<ObjectCompactLayoutInfo>::encode(const ObjectCompactLayoutInfo& value, Writer& writer) {
  return writer.member("objectType", value.objectType) && writer.member("layoutFields", value.layoutFields);
}

VELLORA_JSON_CODECS(ObjectCompactLayoutInfo)
template Result<Data> json::encode(
    const std::optional<std::map<std::string, ObjectCompactLayoutInfo>>& value);

}  // namespace vellora
