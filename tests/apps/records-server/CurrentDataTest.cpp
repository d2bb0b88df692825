#include "apps/records-server/CurrentData.h"

#include <gtest/gtest.h>

namespace vellora::recordsserver {
namespace {

TEST(CurrentDataTest, IsWhatItWasReplacedWith) {
  CurrentData data(DataSet::generated(2));
  const DataSet before = data.current();
  data.replace(DataSet::generated(3));
  EXPECT_EQ(before.objectList(), DataSet::generated(2).objectList());
  EXPECT_EQ(data.current().objectList(), DataSet::generated(3).objectList());
}

}  // namespace
}  // namespace vellora::recordsserver
