#include "apps/records-server/DataSetContent.h"

#include <boost/json.hpp>
#include <optional>
#include <string_view>
#include <utility>

#include "apps/records-server/DataError.h"

namespace vellora::recordsserver {
namespace {

namespace json = boost::json;

const std::string objectsPath = "/services/data/v50.0/sobjects/";

Error problem(std::string_view file, const std::string& what) {
  return DataError{std::string(file) + ": " + what};
}

Error problemOfEntry(std::string_view file, std::size_t index, const std::string& what) {
  return problem(file, "entry " + std::to_string(index) + " " + what);
}

Result<json::array> readArray(std::string_view file, const std::string& text) {
  json::parser parser;
  json::error_code error;
  const auto read = parser.write(text.data(), text.size(), error);
  if (error) return problem(file, "not valid JSON at byte " + std::to_string(read) + ": " + error.message());
  auto value = parser.release();
  if (auto* array = value.if_array()) return std::move(*array);
  return problem(file, "not an array");
}

/// Reads an array of objects, each with the text members that are named.
Result<json::array> readObjects(std::string_view file, const std::string& text,
                                std::initializer_list<const char*> members) {
  auto array = readArray(file, text);
  if (!array) return array;
  for (std::size_t i = 0; i < array.value().size(); ++i) {
    const auto* object = array.value()[i].if_object();
    if (!object) return problemOfEntry(file, i, "is not an object");
    for (const auto* member : members) {
      const auto* value = object->if_contains(member);
      if (!value || !value->is_string())
        return problemOfEntry(file, i, "has no text \"" + std::string(member) + "\"");
    }
  }
  return array;
}

std::string text(const json::object& object, const char* member) {
  const auto* value = object.if_contains(member);
  const auto* string = value ? value->if_string() : nullptr;
  return string ? std::string(string->data(), string->size()) : std::string();
}

/// What a describe entry says of an ordinary type; an entry of the file replaces what differs.
json::object ordinaryDescribeEntry(const std::string& name) {
  const auto path = objectsPath + name;
  return {
      {"startable", false},
      {"auditable", true},
      {"cloneable", true},
      {"createable", true},
      {"deletable", true},
      {"deprecated", false},
      {"exportable", true},
      {"followable", false},
      {"historyTracked", false},
      {"keyPrefix", nullptr},
      {"label", nullptr},
      {"labelPlural", nullptr},
      {"hasLayouts", true},
      {"joinable", false},
      {"mobileReady", true},
      {"name", name},
      {"ownAddition", false},
      {"queryable", true},
      {"readOnly", false},
      {"copiable", true},
      {"readable", true},
      {"searchable", true},
      {"shareable", true},
      {"subtypeOf", nullptr},
      {"taggable", false},
      {"restorable", true},
      {"updateable", true},
      {"urls",
       {{"self", path},
        {"changes", path + "/changes"},
        {"defaults", path + "/defaults"},
        {"describe", path + "/describe"},
        {"layouts", path + "/layouts"},
        {"listViews", path + "/listViews"},
        {"newRecord", path + "/new"},
        {"permissions", path + "/permissions"},
        {"row", path + "/{ID}"}}},
  };
}

Result<Data> readObjectList(const std::string& file) {
  const auto entries = readObjects("objects.json", file, {"name", "label", "labelPlural"});
  if (!entries) return entries.error();
  json::array described;
  described.reserve(entries.value().size());
  for (const auto& entry : entries.value()) {
    auto full = ordinaryDescribeEntry(text(entry.get_object(), "name"));
    if (!entry.get_object().contains("keyPrefix")) full.stable_erase("keyPrefix");
    for (const auto& [member, value] : entry.get_object()) full[member] = value;
    described.push_back(std::move(full));
  }
  return Data(json::serialize(
      json::object{{"encoding", "UTF-8"}, {"count", described.size()}, {"sobjects", std::move(described)}}));
}

Result<Data> readThemeList(const std::string& file) {
  auto items = readObjects("themes.json", file, {"name"});
  if (!items) return items.error();
  return Data(json::serialize(json::object{{"themeItems", std::move(items).value()}}));
}

using Layouts = std::map<std::string, std::string, std::less<>>;

Result<Layouts> readLayouts(std::string_view file, const std::string& content) {
  const auto entries = readObjects(file, content, {"objectType"});
  if (!entries) return entries.error();
  Layouts layouts;
  for (const auto& entry : entries.value())
    layouts[text(entry.get_object(), "objectType")] = json::serialize(entry);
  return layouts;
}

FieldValue textOrNull(const json::object& object, const char* member) {
  const auto* value = object.if_contains(member);
  if (!value || !value->is_string()) return std::monostate{};
  return text(object, member);
}

Result<Table> readListViews(const std::string& file) {
  const auto entries = readObjects("list-views.json", file, {"Id"});
  if (!entries) return entries.error();
  Table table{"ListView", {{"Id"}, {"Name"}, {"SobjectType"}}, {}};
  for (const auto& entry : entries.value()) {
    const auto& view = entry.get_object();
    table.rows.push_back({objectsPath + "ListView/" + text(view, "Id"),
                          {text(view, "Id"), textOrNull(view, "Name"), textOrNull(view, "SobjectType")}});
  }
  return table;
}

Result<Table> readFields(const std::string& file) {
  const auto entries = readObjects("fields.json", file, {"object"});
  if (!entries) return entries.error();
  Table table{"FieldDefinition",
              {{"Id"},
               {"EntityDefinition.QualifiedApiName"},
               {"IsNameField", Column::Type::boolean},
               {"QualifiedApiName"}},
              {}};
  for (std::size_t i = 0; i < entries.value().size(); ++i) {
    const auto& entry = entries.value()[i].get_object();
    const auto object = text(entry, "object");
    const auto nameField = text(entry, "nameField");
    const auto* fields = entry.if_contains("fields");
    if (!fields || !fields->is_array()) return problemOfEntry("fields.json", i, "has no array \"fields\"");
    for (const auto& field : fields->get_array()) {
      if (!field.is_string()) return problemOfEntry("fields.json", i, "has a field that is not a text");
      const std::string name(field.get_string().data(), field.get_string().size());
      auto id = object;
      id.append(".").append(name);
      auto url = objectsPath + "FieldDefinition/";
      url.append(id);
      table.rows.push_back({std::move(url), {std::move(id), object, name == nameField, name}});
    }
  }
  return table;
}

}  // namespace

Result<DataSetContent> readDataSet(const DataFiles& files) {
  auto objects = readObjectList(files.objects);
  if (!objects) return objects.error();
  auto themes = readThemeList(files.themes);
  if (!themes) return themes.error();
  auto searchLayouts = readLayouts("search-layouts.json", files.searchLayouts);
  if (!searchLayouts) return searchLayouts.error();
  auto compactLayouts = readLayouts("compact-layouts.json", files.compactLayouts);
  if (!compactLayouts) return compactLayouts.error();
  auto listViews = readListViews(files.listViews);
  if (!listViews) return listViews.error();
  auto fields = readFields(files.fields);
  if (!fields) return fields.error();
  return DataSetContent{std::move(objects).value(),
                        std::move(themes).value(),
                        std::move(searchLayouts).value(),
                        std::move(compactLayouts).value(),
                        {std::move(listViews).value(), std::move(fields).value()}};
}

}  // namespace vellora::recordsserver
