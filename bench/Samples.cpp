#include "bench/Samples.h"

#include "apps/records-server/DataSet.h"

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

}  // namespace vellora::bench
