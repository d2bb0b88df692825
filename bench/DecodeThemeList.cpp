#include <rapidjson/document.h>
#include <nlohmann/json.hpp>

#include <boost/json.hpp>
#include <cstdint>
#include <string>
#include <vector>

#include "bench/Decoding.h"
#include "bench/HandWritten.h"
#include "bench/Rows.h"
#include "bench/Samples.h"
#include "vellora/Models/ThemeResponse.h"

namespace vellora::bench {

namespace {

using Themes = std::vector<ThemeItem>;

Themes decodedByOurs(const Data& text) {
  return json::decode<ThemeResponse>(text).value().themeItems;
}

std::string textOf(const boost::json::value& value) {
  return std::string(value.as_string());
}

Themes decodedByBoost(const Data& text) {
  boost::json::monotonic_resource memory;
  const auto document = boost::json::parse(text.view(), &memory);
  const auto& list = document.as_object().at("themeItems").as_array();
  Themes themes;
  themes.reserve(list.size());
  for (const auto& entry : list) {
    const auto& members = entry.as_object();
    ThemeItem& theme = themes.emplace_back();
    theme.name = textOf(members.at("name"));
    auto& colors = theme.colors.emplace();
    for (const auto& color : members.at("colors").as_array()) {
      const auto& parts = color.as_object();
      colors.push_back({.color = textOf(parts.at("color")),
                        .context = textOf(parts.at("context")),
                        .theme = textOf(parts.at("theme"))});
    }
    for (const auto& icon : members.at("icons").as_array()) {
      const auto& parts = icon.as_object();
      theme.icons.push_back({.contentType = textOf(parts.at("contentType")),
                             .theme = textOf(parts.at("theme")),
                             .url = textOf(parts.at("url")),
                             .width = parts.at("width").as_int64()});
    }
  }
  return themes;
}

std::string textOf(const rapidjson::Value& value) {
  return {value.GetString(), value.GetStringLength()};
}

Themes decodedByRapidJson(const Data& text) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseValidateEncodingFlag>(text.data(), text.size());
  const auto& list = document["themeItems"];
  Themes themes;
  themes.reserve(list.Size());
  for (const auto& entry : list.GetArray()) {
    ThemeItem& theme = themes.emplace_back();
    theme.name = textOf(entry["name"]);
    auto& colors = theme.colors.emplace();
    for (const auto& color : entry["colors"].GetArray()) {
      colors.push_back({.color = textOf(color["color"]),
                        .context = textOf(color["context"]),
                        .theme = textOf(color["theme"])});
    }
    for (const auto& icon : entry["icons"].GetArray()) {
      theme.icons.push_back({.contentType = textOf(icon["contentType"]),
                             .theme = textOf(icon["theme"]),
                             .url = textOf(icon["url"]),
                             .width = icon["width"].GetInt64()});
    }
  }
  return themes;
}

Themes decodedByNlohmann(const Data& text) {
  const auto document = nlohmann::json::parse(text.view());
  const auto textAt = [](const nlohmann::json& members, const char* key) {
    return members.at(key).get<std::string>();
  };
  const auto& list = document.at("themeItems");
  Themes themes;
  themes.reserve(list.size());
  for (const auto& entry : list) {
    ThemeItem& theme = themes.emplace_back();
    theme.name = textAt(entry, "name");
    auto& colors = theme.colors.emplace();
    for (const auto& color : entry.at("colors")) {
      colors.push_back({.color = textAt(color, "color"),
                        .context = textAt(color, "context"),
                        .theme = textAt(color, "theme")});
    }
    for (const auto& icon : entry.at("icons")) {
      theme.icons.push_back({.contentType = textAt(icon, "contentType"),
                             .theme = textAt(icon, "theme"),
                             .url = textAt(icon, "url"),
                             .width = icon.at("width").get<std::int64_t>()});
    }
  }
  return themes;
}

}  // namespace

void addDecodingOfTheThemeList(Suite& suite) {
  addDecoding<Themes>(suite, "decode the theme list", sampleThemeList(),
                      {.ours = decodedByOurs,
                       .byHand = extractedThemes,
                       .boostJson = decodedByBoost,
                       .rapidJson = decodedByRapidJson,
                       .nlohmann = decodedByNlohmann},
                      {});
}

}  // namespace vellora::bench
