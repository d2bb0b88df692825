#include "bench/Samples.h"

#include "apps/records-server/DataSet.h"
#include "vellora/Models/SObjectsResponse.h"

namespace vellora::bench {

namespace {

const recordsserver::DataSet& sampleData() {
  static const auto data = recordsserver::DataSet::generated(sampleTypes);
  return data;
}

}  // namespace

const Data& sampleObjectList() {
  return sampleData().objectList();
}

const Data& sampleThemeList() {
  return sampleData().themeList();
}

std::vector<std::string> sampleTypeNames(std::size_t count) {
  const auto types = json::decode<SObjectsResponse>(sampleObjectList()).value().sObjects;
  std::vector<std::string> names;
  for (const auto& type : types) {
    if (names.size() < count) names.push_back(type.name);
  }
  return names;
}

}  // namespace vellora::bench
