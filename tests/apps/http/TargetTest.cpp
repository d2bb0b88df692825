#include "apps/http/Target.h"

#include <gtest/gtest.h>

namespace vellora::http {
namespace {

TEST(TargetTest, SeparatesPathAndItems) {
  const auto target = Target::parse("/api/state?after=3&x=a%20b&after=4");
  EXPECT_EQ(target.path, "/api/state");
  EXPECT_EQ(target.items.size(), 3U);
  EXPECT_EQ(target.encodedItem("after"), "3");
  EXPECT_EQ(target.encodedItem("x"), "a%20b");
  EXPECT_EQ(target.encodedItem("y"), std::nullopt);
}

TEST(TargetTest, TellsAnEmptyItemFromAnAbsentOne) {
  EXPECT_EQ(Target::parse("/x?a=").encodedItem("a"), "");
  EXPECT_EQ(Target::parse("/x?a").encodedItem("a"), std::nullopt);
  EXPECT_EQ(Target::parse("/x?").encodedItem("a"), std::nullopt);
  EXPECT_EQ(Target::parse("/x").encodedItem("a"), std::nullopt);
  EXPECT_EQ(Target::parse("/x?&&b=1&").encodedItem("b"), "1");
}

TEST(TargetTest, DecodesBytesAndLeavesAPlus) {
  EXPECT_EQ(percentDecoded("a+b%2C%c3%A9%00").value(), std::string("a+b,\xC3\xA9\0", 7));
  EXPECT_EQ(percentDecoded(""), "");
  for (const auto* broken : {"%", "a%4", "%g0", "%0g"})
    EXPECT_EQ(percentDecoded(broken), std::nullopt) << broken;
}

}  // namespace
}  // namespace vellora::http
