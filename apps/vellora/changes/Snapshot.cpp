#include "apps/vellora/changes/Snapshot.h"

#include <optional>

#include "vellora/Models/CompactLayoutField.h"

namespace vellora::command {

namespace {

void add(Properties& properties, const char* name, const std::optional<std::string>& text) {
  if (text) properties.emplace_back(name, *text);
}

std::optional<std::string> onServer(std::optional<std::string> url, const std::string& server) {
  const bool isOnServer = url && !server.empty() && url->starts_with(server);
  if (isOnServer) url->erase(0, server.size());
  return url;
}

/// ", word text" where there is a text.
std::string behind(const char* word, const std::optional<std::string>& text) {
  return text ? ", " + std::string(word) + " " + *text : std::string();
}

std::string textOf(const CompactLayoutField& field) {
  return field.label + ", " + field.fieldType + behind("refers to", field.referenceTo) +
         behind("by", field.relationshipName) + (field.htmlFormatted ? ", HTML" : "");
}

void addFields(Properties& properties, const CompactLayoutFields& fields, const std::string& path) {
  for (const auto& field : fields) {
    properties.emplace_back(path + field->apiName, textOf(*field));
    if (field->layoutFields) addFields(properties, *field->layoutFields, path + field->apiName + "/");
  }
}

}  // namespace

Properties propertiesOf(const ObjectPresentationInfo& type, const std::string& server) {
  const PresentationInfo& info = type.typePresentationInfo;
  Properties properties;
  add(properties, "label", info.label);
  add(properties, "plural", info.labelPlural);
  add(properties, "colour", info.color);
  add(properties, "createable", info.createable ? "yes" : "no");
  add(properties, "vector icon", onServer(info.svgIconUrl, server));
  add(properties, "small icon", onServer(info.smallIconUrl, server));
  add(properties, "large icon", onServer(info.largeIconUrl, server));
  return properties;
}

Properties propertiesOf(const ObjectLayoutInfo& layout) {
  Properties properties;
  for (const auto& column : layout.searchColumns)
    properties.emplace_back(column.field,
                            column.label + ", " + column.name + behind("format", column.format));
  return properties;
}

Properties propertiesOf(const ObjectCompactLayoutInfo& layout) {
  Properties properties;
  addFields(properties, layout.layoutFields, "");
  return properties;
}

}  // namespace vellora::command
