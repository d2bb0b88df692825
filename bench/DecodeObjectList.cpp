#include <rapidjson/document.h>
#include <simdjson.h>
#include <nlohmann/json.hpp>

#include <boost/json.hpp>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bench/Rows.h"
#include "bench/Samples.h"
#include "vellora/Models/SObjectsResponse.h"

namespace vellora::bench {

namespace {

using Types = std::vector<SObject>;

constexpr const char* what = "decode the object list";

Types decodedByOurs(const Data& text) {
  return json::decode<SObjectsResponse>(text).value().sObjects;
}

// Written for these five fields alone: one pass over the members, which ends when all have been seen.
SObject extracted(simdjson::dom::object members) {
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

Types decodedBySimdjson(simdjson::dom::parser& parser, const Data& text) {
  constexpr bool copyIfUnpadded = false;
  const simdjson::dom::array list = parser.parse(text.data(), text.size(), copyIfUnpadded)["sobjects"];
  Types types;
  types.reserve(list.size());
  for (const auto entry : list) types.push_back(extracted(entry));
  return types;
}

std::string textOf(const boost::json::value& value) {
  return std::string(value.as_string());
}

Types decodedByBoost(const Data& text) {
  boost::json::monotonic_resource memory;
  const auto document = boost::json::parse(text.view(), &memory);
  const auto& list = document.as_object().at("sobjects").as_array();
  Types types;
  types.reserve(list.size());
  for (const auto& entry : list) {
    const auto& members = entry.as_object();
    SObject& type = types.emplace_back();
    type.name = textOf(members.at("name"));
    if (const auto& prefix = members.at("keyPrefix"); prefix.is_string()) type.keyPrefix = textOf(prefix);
    type.label = textOf(members.at("label"));
    type.labelPlural = textOf(members.at("labelPlural"));
    type.createable = members.at("createable").as_bool();
  }
  return types;
}

std::string textOf(const rapidjson::Value& value) {
  return {value.GetString(), value.GetStringLength()};
}

Types decodedByRapidJson(const Data& text) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseValidateEncodingFlag>(text.data(), text.size());
  const auto& list = document["sobjects"];
  Types types;
  types.reserve(list.Size());
  for (const auto& entry : list.GetArray()) {
    SObject& type = types.emplace_back();
    type.name = textOf(entry["name"]);
    if (const auto& prefix = entry["keyPrefix"]; prefix.IsString()) type.keyPrefix = textOf(prefix);
    type.label = textOf(entry["label"]);
    type.labelPlural = textOf(entry["labelPlural"]);
    type.createable = entry["createable"].GetBool();
  }
  return types;
}

Types decodedByNlohmann(const Data& text) {
  const auto document = nlohmann::json::parse(text.view());
  const auto& list = document.at("sobjects");
  Types types;
  types.reserve(list.size());
  for (const auto& entry : list) {
    SObject& type = types.emplace_back();
    type.name = entry.at("name").get<std::string>();
    if (const auto& prefix = entry.at("keyPrefix"); prefix.is_string()) {
      type.keyPrefix = prefix.get<std::string>();
    }
    type.label = entry.at("label").get<std::string>();
    type.labelPlural = entry.at("labelPlural").get<std::string>();
    type.createable = entry.at("createable").get<bool>();
  }
  return types;
}

/// A timing of `decode`, which has to give what ours gives.
template <class Decode>
Suite::Timing timeDecoding(Suite& suite, const std::string& who, Decode decode) {
  return suite.time(what, who, [decode](benchmark::State& state) mutable {
    const Data& text = sampleObjectList();
    if (decode(text) != decodedByOurs(text)) return state.SkipWithError("decodes to something else");
    for (auto _ : state) benchmark::DoNotOptimize(decode(text));
  });
}

}  // namespace

void addDecodingOfTheObjectList(Suite& suite) {
  const auto ours = timeDecoding(suite, "ours", decodedByOurs);
  const auto against = [&](const std::string& peer, auto decode, Suite::Goal goal) {
    suite.compare(what, ours, timeDecoding(suite, peer, decode), goal);
  };
  against(
      "simdjson by hand",
      [parser = std::make_shared<simdjson::dom::parser>()](const Data& text) {
        return decodedBySimdjson(*parser, text);
      },
      Suite::atMost(1.15));
  against("Boost.JSON", decodedByBoost, Suite::atLeast(3));
  against("RapidJSON", decodedByRapidJson, Suite::atLeast(3));
  against("nlohmann", decodedByNlohmann, Suite::atLeast(20));
}

}  // namespace vellora::bench
