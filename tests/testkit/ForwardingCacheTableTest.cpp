#include "testkit/ForwardingCacheTable.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/testkit/TinyCache.h"

namespace vellora::testkit {
namespace {

using CorvaneSDK::metaEquals;
using CorvaneSDK::Query;
using CorvaneSDK::Row;

TEST(ForwardingCacheTableTest, PassesEveryCallOn) {
  const auto real = std::make_shared<TinyTable>();
  ForwardingCacheTable table(real);
  const auto lists = Query::exact(metaEquals({{"kind", "list"}}));

  EXPECT_TRUE(table.upsert({Data(std::string("rows")), {{"kind", "list"}}, std::nullopt}));
  EXPECT_EQ(real->fetch(lists), (std::vector<Row>{{{{"kind", "list"}}, "0"}}));
  EXPECT_EQ(table.fetch(lists), real->fetch(lists));
  EXPECT_EQ(table.load(lists), std::vector{Data(std::string("rows"))});
  EXPECT_TRUE(table.purge(metaEquals({{"kind", "list"}})));
  EXPECT_TRUE(real->fetch(lists).empty());
}

}  // namespace
}  // namespace vellora::testkit
