#include "hostkit/network/ResponseHead.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string_view>

namespace vellora::hostkit {
namespace {

using Headers = ResponseHead::Headers;

ResponseHead headOf(std::initializer_list<std::string_view> lines) {
  ResponseHead head;
  for (const auto line : lines) head.takeLine(line);
  return head;
}

TEST(ResponseHeadTest, NamesAreInLowerCaseAndValuesTrimmed) {
  EXPECT_EQ(headOf({"HTTP/1.1 200 OK\r\n", "Content-Type:  text/plain \r\n", "X-A:b\r\n"}).headers(),
            (Headers{{"content-type", "text/plain"}, {"x-a", "b"}}));
}

TEST(ResponseHeadTest, ValuesOfOneNameAreJoinedInTheirOrder) {
  EXPECT_EQ(headOf({"X-Multi: b\r\n", "x-multi: a\r\n", "X-MULTI:\r\n"}).headers(),
            (Headers{{"x-multi", "b, a, "}}));
}

TEST(ResponseHeadTest, AValueMayHoldColons) {
  EXPECT_EQ(headOf({"Location: http://a.example:80/\r\n"}).headers(),
            (Headers{{"location", "http://a.example:80/"}}));
}

TEST(ResponseHeadTest, ALineThatIsNoHeaderIsSkipped) {
  EXPECT_EQ(headOf({"no colon\r\n", "\r\n", "X-Ha"}).headers(), Headers{});
}

TEST(ResponseHeadTest, TheEmptyLineEndsItInBothForms) {
  EXPECT_FALSE(headOf({"HTTP/1.1 200 OK\r\n", "X-A: b\r\n"}).isComplete());
  EXPECT_TRUE(headOf({"HTTP/1.1 200 OK\r\n", "X-A: b\r\n", "\r\n"}).isComplete());
  EXPECT_TRUE(headOf({"HTTP/1.1 200 OK\n", "\n"}).isComplete());
}

TEST(ResponseHeadTest, AStatusLineForgetsWhatAnInterimAnswerSaid) {
  const auto head = headOf({"HTTP/1.1 103 Early Hints\r\n", "Link: </a>\r\n", "\r\n", "HTTP/1.1 200 OK\r\n"});
  EXPECT_FALSE(head.isComplete());
  EXPECT_EQ(head.headers(), Headers{});
}

TEST(ResponseHeadTest, WhatFollowsTheBodyIsAmongTheHeaders) {
  const auto head = headOf({"HTTP/1.1 200 OK\r\n", "\r\n", "X-Sum: 7\r\n", "\r\n"});
  EXPECT_TRUE(head.isComplete());
  ASSERT_NE(head.value("x-sum"), nullptr);
  EXPECT_EQ(*head.value("x-sum"), "7");
  EXPECT_EQ(head.value("x-other"), nullptr);
}

}  // namespace
}  // namespace vellora::hostkit
