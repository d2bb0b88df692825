#include "bench/HandWritten.h"

#include <rapidjson/writer.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace vellora::bench {

namespace {

SObject extractedType(simdjson::dom::object members) {
  SObject type;
  int missing = 5;
  for (const auto [key, value] : members) {
    if (key == "name") {
      type.name = std::string_view(value);
    } else if (key == "keyPrefix") {
      if (!value.is_null()) type.keyPrefix = std::string_view(value);
    } else if (key == "label") {
      type.label = std::string_view(value);
    } else if (key == "labelPlural") {
      type.labelPlural = std::string_view(value);
    } else if (key == "createable") {
      type.createable = bool(value);
    } else {
      continue;
    }
    if (--missing == 0) break;
  }
  return type;
}

ColorInfo extractedColor(simdjson::dom::object members) {
  ColorInfo color;
  int missing = 3;
  for (const auto [key, value] : members) {
    if (key == "color") {
      color.color = std::string_view(value);
    } else if (key == "context") {
      color.context = std::string_view(value);
    } else if (key == "theme") {
      color.theme = std::string_view(value);
    } else {
      continue;
    }
    if (--missing == 0) break;
  }
  return color;
}

IconInfo extractedIcon(simdjson::dom::object members) {
  IconInfo icon;
  int missing = 4;
  for (const auto [key, value] : members) {
    if (key == "contentType") {
      icon.contentType = std::string_view(value);
    } else if (key == "theme") {
      icon.theme = std::string_view(value);
    } else if (key == "url") {
      icon.url = std::string_view(value);
    } else if (key == "width") {
      if (!value.is_null()) icon.width = std::int64_t(value);
    } else {
      continue;
    }
    if (--missing == 0) break;
  }
  return icon;
}

template <class Record>
std::vector<Record> extractedEach(simdjson::dom::array list, Record (*extract)(simdjson::dom::object)) {
  std::vector<Record> records;
  records.reserve(list.size());
  for (const auto entry : list) records.push_back(extract(entry));
  return records;
}

ThemeItem extractedTheme(simdjson::dom::object members) {
  ThemeItem theme;
  int missing = 3;
  for (const auto [key, value] : members) {
    if (key == "name") {
      theme.name = std::string_view(value);
    } else if (key == "colors") {
      if (!value.is_null()) theme.colors = extractedEach(value, extractedColor);
    } else if (key == "icons") {
      theme.icons = extractedEach(value, extractedIcon);
    } else {
      continue;
    }
    if (--missing == 0) break;
  }
  return theme;
}

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void write(Writer& writer, std::string_view key, const std::string& value) {
  writer.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
  writer.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
}

void write(Writer& writer, const ColorInfo& color) {
  writer.StartObject();
  write(writer, "color", color.color);
  write(writer, "context", color.context);
  write(writer, "theme", color.theme);
  writer.EndObject();
}

void write(Writer& writer, const IconInfo& icon) {
  writer.StartObject();
  write(writer, "contentType", icon.contentType);
  write(writer, "theme", icon.theme);
  write(writer, "url", icon.url);
  if (icon.width) {
    writer.Key("width");
    writer.Int64(*icon.width);
  }
  writer.EndObject();
}

template <class Records>
void writeList(Writer& writer, const char* key, const Records& records) {
  writer.Key(key);
  writer.StartArray();
  for (const auto& record : records) write(writer, record);
  writer.EndArray();
}

}  // namespace

std::vector<SObject> extractedTypes(simdjson::dom::element document) {
  return extractedEach(document["sobjects"], extractedType);
}

std::vector<ThemeItem> extractedThemes(simdjson::dom::element document) {
  return extractedEach(document["themeItems"], extractedTheme);
}

rapidjson::StringBuffer writtenTypes(const std::vector<SObject>& types) {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  writer.StartArray();
  for (const auto& type : types) {
    writer.StartObject();
    write(writer, "name", type.name);
    if (type.keyPrefix) write(writer, "keyPrefix", *type.keyPrefix);
    write(writer, "label", type.label);
    write(writer, "labelPlural", type.labelPlural);
    writer.Key("createable");
    writer.Bool(type.createable);
    writer.EndObject();
  }
  writer.EndArray();
  return buffer;
}

rapidjson::StringBuffer writtenThemes(const std::vector<ThemeItem>& themes) {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  writer.StartArray();
  for (const auto& theme : themes) {
    writer.StartObject();
    write(writer, "name", theme.name);
    if (theme.colors) writeList(writer, "colors", *theme.colors);
    writeList(writer, "icons", theme.icons);
    writer.EndObject();
  }
  writer.EndArray();
  return buffer;
}

}  // namespace vellora::bench
