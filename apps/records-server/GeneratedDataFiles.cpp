#include <array>
#include <cstdio>
#include <string>
#include <string_view>

#include "apps/records-server/DataFiles.h"

namespace vellora::recordsserver {
namespace {

constexpr std::string_view digits = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr std::size_t listViewsGenerated = 50;

// The first digit of an ordinary type is a small letter, which no prefix of the first two types begins with.
constexpr std::size_t firstSmallLetter = 36;
constexpr std::size_t prefixesPerLetter = std::size_t{62} * 62;
constexpr std::size_t prefixesGenerated = 26 * prefixesPerLetter;

std::string numbered(const char* format, std::size_t number) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), format, number);
  return text.data();
}

std::string typeName(std::size_t index) {
  if (index == 0) return "User";
  if (index == 1) return "ListView";
  return numbered("Record%05zu", index);
}

// JSON: a text of three characters; null once all are given away.
std::string keyPrefix(std::size_t index) {
  if (index == 0) return R"("005")";
  if (index == 1) return R"("00B")";
  if (index >= prefixesGenerated) return "null";
  return {'"', digits[firstSmallLetter + index / prefixesPerLetter], digits[index / 62 % 62],
          digits[index % 62], '"'};
}

std::string quoted(const std::string& text) {
  return '"' + text + '"';
}

std::string describeEntry(std::size_t index) {
  const auto name = typeName(index);
  return R"({"name":)" + quoted(name) + R"(,"keyPrefix":)" + keyPrefix(index) + R"(,"label":)" +
         quoted(name + " Label") + R"(,"labelPlural":)" + quoted(name + " Labels") + R"(,"createable":)" +
         (index % 5 == 4 ? "false" : "true") + "}";
}

std::string icon(const std::string& name, const char* theme, const char* type, const char* suffix, int size) {
  const auto length = std::to_string(size);
  return R"({"contentType":")" + std::string(type) + R"(","height":)" + length + R"(,"theme":")" + theme +
         R"(","url":"https://icons.example/)" + theme + "/" + name + "_" + length + suffix + R"(","width":)" +
         length + "}";
}

std::string themeEntry(std::size_t index) {
  const auto name = typeName(index);
  std::string icons;
  for (const auto* theme : {"light", "dark"}) {
    icons += icon(name, theme, "image/svg+xml", ".svg", 24) + ",";
    icons += icon(name, theme, "image/png", ".png", 32) + ",";
    icons += icon(name, theme, "image/png", ".png", 120) + ",";
  }
  icons.pop_back();
  return R"({"name":)" + quoted(name) + numbered(R"(,"colors":[{"color":"%06zX")", index * 7919 % 0x1000000) +
         R"(,"context":"primary","theme":"light"},)" +
         numbered(R"({"color":"%06zX")", index * 104729 % 0x1000000) +
         R"(,"context":"primary","theme":"dark"}],"icons":[)" + icons + "]}";
}

std::string listView(std::size_t index, std::size_t types) {
  const auto type = types > 2 ? typeName(2 + index % (types - 2)) : typeName(0);
  return R"({"Id":")" + numbered("00B%012zu", index) + numbered(R"(","Name":"List View %zu")", index) +
         R"(,"SobjectType":)" + quoted(type) + "}";
}

std::string searchLayout(std::size_t index) {
  return R"({"objectType":)" + quoted(typeName(index)) +
         R"(,"label":"Search","searchColumns":[{"name":"Name","label":"Name","field":"Name"},)"
         R"({"name":"Owner.Name","label":"Owner","field":"OwnerId"},)"
         R"({"name":"CreatedDate","label":"Created","format":"date","field":"CreatedDate"}]})";
}

std::string fieldItem(const std::string& label, const std::string& value, const std::string& type,
                      const std::string& referenceTo, const std::string& relationshipName) {
  return R"({"label":)" + quoted(label) + R"(,"layoutComponents":[{"value":)" + quoted(value) +
         R"(,"details":{"name":)" + quoted(value) + R"(,"label":)" + quoted(label) + R"(,"type":)" +
         quoted(type) + R"(,"htmlFormatted":false,"referenceTo":[)" + referenceTo +
         R"(],"relationshipName":)" + relationshipName + "}}]}";
}

std::string compactLayout(std::size_t index, std::size_t types) {
  const auto parent = typeName((index + 1) % types);
  return R"({"objectType":)" + quoted(typeName(index)) + R"(,"name":"Headline","fieldItems":[)" +
         fieldItem("Name", "Name", "string", "", "null") + "," +
         fieldItem("Owner", "OwnerId", "reference", R"("User")", R"("Owner")") + "," +
         fieldItem("Parent", "ParentId", "reference", quoted(parent), R"("Parent")") + "," +
         fieldItem("Created", "CreatedDate", "datetime", "", "null") + "]}";
}

std::string fields(std::size_t index) {
  return R"({"object":)" + quoted(typeName(index)) +
         R"(,"nameField":"Name","fields":["Id","Name","OwnerId","ParentId","CreatedDate"]})";
}

template <class Entry>
std::string arrayOf(std::size_t count, Entry entry) {
  std::string text = "[";
  for (std::size_t i = 0; i < count; ++i) {
    if (i > 0) text += ",\n";
    text += entry(i);
  }
  return text + "]\n";
}

}  // namespace

DataFiles generatedDataFiles(std::size_t types) {
  return {
      .objects = arrayOf(types, describeEntry),
      .themes = arrayOf(types, themeEntry),
      .listViews =
          arrayOf(types > 0 ? listViewsGenerated : 0, [types](std::size_t i) { return listView(i, types); }),
      .searchLayouts = arrayOf(types, searchLayout),
      .compactLayouts = arrayOf(types, [types](std::size_t i) { return compactLayout(i, types); }),
      .fields = arrayOf(types, fields),
  };
}

}  // namespace vellora::recordsserver
