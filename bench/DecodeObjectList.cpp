#include <rapidjson/document.h>
#include <nlohmann/json.hpp>

#include <boost/json.hpp>
#include <string>
#include <vector>

#include "bench/Decoding.h"
#include "bench/HandWritten.h"
#include "bench/Rows.h"
#include "bench/Samples.h"
#include "vellora/Models/SObjectsResponse.h"

namespace vellora::bench {

namespace {

using Types = std::vector<SObject>;

Types decodedByOurs(const Data& text) {
  return json::decode<SObjectsResponse>(text).value().sObjects;
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

}  // namespace

void addDecodingOfTheObjectList(Suite& suite) {
  addDecoding<Types>(
      suite, "decode the object list", sampleObjectList(),
      {.ours = decodedByOurs,
       .byHand = extractedTypes,
       .boostJson = decodedByBoost,
       .rapidJson = decodedByRapidJson,
       .nlohmann = decodedByNlohmann},
      {.boostJson = Suite::atLeast(3), .rapidJson = Suite::atLeast(3), .nlohmann = Suite::atLeast(20, 18)});
}

}  // namespace vellora::bench
