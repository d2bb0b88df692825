#include <nlohmann/json.hpp>

#include <boost/json.hpp>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bench/HandWritten.h"
#include "bench/Rows.h"
#include "bench/Samples.h"
#include "vellora/Models/SObjectsResponse.h"

namespace vellora::bench {

namespace {

using Types = std::vector<SObject>;

const Types& sampleTypesAsRecords() {
  static const Types types = json::decode<SObjectsResponse>(sampleObjectList()).value().sObjects;
  return types;
}

std::string encodedByBoost(const Types& types) {
  boost::json::monotonic_resource memory;
  boost::json::array list(&memory);
  list.reserve(types.size());
  for (const auto& type : types) {
    auto& members = list.emplace_back(boost::json::object_kind).get_object();
    members.reserve(5);
    members.emplace("name", type.name);
    if (type.keyPrefix) members.emplace("keyPrefix", *type.keyPrefix);
    members.emplace("label", type.label);
    members.emplace("labelPlural", type.labelPlural);
    members.emplace("createable", type.createable);
  }
  return boost::json::serialize(list);
}

std::string encodedByNlohmann(const Types& types) {
  auto list = nlohmann::ordered_json::array();
  for (const auto& type : types) {
    nlohmann::ordered_json members;
    members["name"] = type.name;
    if (type.keyPrefix) members["keyPrefix"] = *type.keyPrefix;
    members["label"] = type.label;
    members["labelPlural"] = type.labelPlural;
    members["createable"] = type.createable;
    list.push_back(std::move(members));
  }
  return list.dump();
}

std::string_view view(const Data& text) {
  return text.view();
}

std::string_view view(const rapidjson::StringBuffer& text) {
  return {text.GetString(), text.GetSize()};
}

std::string_view view(std::string_view text) {
  return text;
}

Data encodedByOurs(const Types& types) {
  return json::encode(types).value();
}

/// Every library must write the bytes that ours writes.
template <class Encode>
Suite::Timing timeEncoding(Suite& suite, const std::string& what, const std::string& who, Encode encode) {
  return suite.time(what, who, [encode](benchmark::State& state) {
    const Types& types = sampleTypesAsRecords();
    if (view(encode(types)) != view(encodedByOurs(types))) return state.SkipWithError("writes other text");
    for (auto _ : state) benchmark::DoNotOptimize(encode(types));
  });
}

}  // namespace

void addEncoding(Suite& suite) {
  const std::string what = "encode the cached list";
  const auto ours = timeEncoding(suite, what, "ours", encodedByOurs);
  const auto against = [&](const std::string& who, auto encode) {
    suite.compare(what, ours, timeEncoding(suite, what, who, encode), Suite::atMost(1.2));
  };
  against("RapidJSON's writer", writtenTypes);
  against("Boost.JSON", encodedByBoost);
  against("nlohmann", encodedByNlohmann);
}

}  // namespace vellora::bench
