#include "apps/records-server/RequestTarget.h"

#include <gtest/gtest.h>

#include <string>

namespace vellora::recordsserver {
namespace {

std::optional<std::string> qOf(std::string_view target) {
  const auto parsed = RequestTarget::parse(target);
  EXPECT_TRUE(parsed);
  return parsed ? parsed->q : std::nullopt;
}

TEST(RequestTargetTest, SeparatesPathAndItem) {
  const auto parsed = RequestTarget::parse("/services/data/v50.0/search/layout?q=Account,Contact");
  ASSERT_TRUE(parsed);
  EXPECT_EQ(parsed->path, "/services/data/v50.0/search/layout");
  EXPECT_EQ(parsed->q, "Account,Contact");
}

TEST(RequestTargetTest, TellsAnEmptyItemFromAnAbsentOne) {
  EXPECT_EQ(qOf("/x?q="), "");
  EXPECT_EQ(qOf("/x"), std::nullopt);
  EXPECT_EQ(qOf("/x?"), std::nullopt);
  EXPECT_EQ(qOf("/x?Q=1&qq=2&q"), std::nullopt);
}

TEST(RequestTargetTest, TakesTheFirstItemAmongOthers) {
  EXPECT_EQ(qOf("/x?a=1&q=2&q=3"), "2");
  EXPECT_EQ(qOf("/x?&&q=2=3?4&"), "2=3?4");
}

TEST(RequestTargetTest, DecodesBytesAndLeavesAPlus) {
  EXPECT_EQ(qOf("/x?q=a+b%26c;d%2520%C3%A9"), "a+b&c;d%20\xc3\xa9");
  EXPECT_EQ(qOf("/x?q=%0d%0A%00"), std::string("\r\n\0", 3));
}

TEST(RequestTargetTest, RefusesBrokenPercentEncoding) {
  EXPECT_FALSE(RequestTarget::parse("/x?q=%"));
  EXPECT_FALSE(RequestTarget::parse("/x?q=a%4"));
  EXPECT_FALSE(RequestTarget::parse("/x?q=%g0"));
  EXPECT_FALSE(RequestTarget::parse("/x?q=%0g&q=1"));
}

}  // namespace
}  // namespace vellora::recordsserver
