#include "hostkit/network/ResponseHead.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>

namespace vellora::hostkit {
namespace {

using Headers = ResponseHead::Headers;

ResponseHead headOf(std::initializer_list<std::string_view> lines) {
  ResponseHead head;
  for (const auto line : lines) EXPECT_TRUE(head.takeLine(line));
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

TEST(ResponseHeadTest, TheReasonPhraseStandsBehindTheStatus) {
  EXPECT_EQ(headOf({"HTTP/1.1 404 Not Found\r\n"}).reasonPhrase(), "Not Found");
  EXPECT_EQ(headOf({"HTTP/1.1 200\r\n"}).reasonPhrase(), "");
  EXPECT_EQ(headOf({"HTTP/2 200 \r\n"}).reasonPhrase(), "");
  EXPECT_EQ(headOf({"HTTP/1.1 103 Early Hints\r\n", "\r\n", "HTTP/1.1 200 OK\r\n"}).reasonPhrase(), "OK");
}

TEST(ResponseHeadTest, ALineWithoutAColonIsNoHeader) {
  EXPECT_EQ(headOf({"HTTP/1.1 200 OK\r\n", "nonsense\r\n", "\r\n"}).headers(), Headers());
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

TEST(ResponseHeadTest, AHeaderThatLooksLikeAStatusLineBeginsNoHead) {
  const auto head =
      headOf({"HTTP/1.1 200 OK\r\n", "X-Sum: 7\r\n", "HTTP/x: 1\r\n", "\r\n", "Location: /x\r\n"});
  EXPECT_EQ(head.headers(), (Headers{{"http/x", "1"}, {"x-sum", "7"}}));
  EXPECT_EQ(head.reasonPhrase(), "OK");
  EXPECT_TRUE(head.isComplete());
}

TEST(ResponseHeadTest, NoHeadBeginsWithinAnInterimOneThatHasNotEnded) {
  const auto head = headOf({"HTTP/1.1 103 Early Hints\r\n", "HTTP/1.1 200 x: y\r\n", "\r\n",
                            "HTTP/1.1 200 OK\r\n", "X-Sum: 7\r\n"});
  EXPECT_EQ(head.headers(), (Headers{{"x-sum", "7"}}));
  EXPECT_EQ(head.reasonPhrase(), "OK");
}

TEST(ResponseHeadTest, WhatFollowsTheBodyIsNoHeader) {
  const auto head = headOf({"HTTP/1.1 200 OK\r\n", "X-Sum: 7\r\n", "\r\n", "Location: /x\r\n", "X-Sum: 8\r\n",
                            "HTTP/1.1 302 Found: x\r\n", "Location: /y\r\n", "\r\n"});
  EXPECT_TRUE(head.isComplete());
  EXPECT_EQ(head.headers(), (Headers{{"x-sum", "7"}}));
  ASSERT_NE(head.value("x-sum"), nullptr);
  EXPECT_EQ(*head.value("x-sum"), "7");
  EXPECT_EQ(head.value("location"), nullptr);
}

TEST(ResponseHeadTest, HeadsAndTrailersTogetherHaveOneLimit) {
  const std::string line = "X: " + std::string(995, 'x') + "\r\n";  // 1000 bytes
  const auto linesTaken = [&](ResponseHead head) {
    int taken = 0;
    while (taken < 1000 && head.takeLine(line)) ++taken;
    return taken;
  };
  EXPECT_EQ(linesTaken({}), 300);
  EXPECT_EQ(linesTaken(headOf({"HTTP/1.1 200 OK\r\n"})), 299);
  EXPECT_EQ(linesTaken(headOf({"HTTP/1.1 200 OK\r\n", "\r\n"})), 299);
  EXPECT_EQ(linesTaken(headOf({"HTTP/1.1 103 Early Hints\r\n", line, "\r\n", "HTTP/1.1 200 OK\r\n"})), 298);
}

TEST(ResponseHeadTest, KnowsWhetherTheEndOfTheBodyIsTold) {
  EXPECT_TRUE(headOf({"HTTP/1.1 200 OK\r\n", "Content-Length: 1\r\n", "\r\n"}).tellsEnd());
  EXPECT_TRUE(headOf({"HTTP/1.1 200 OK\r\n", "Transfer-Encoding: chunked\r\n", "\r\n"}).tellsEnd());
  EXPECT_TRUE(headOf({"HTTP/2 200\r\n", "\r\n"}).tellsEnd());
  EXPECT_FALSE(headOf({"HTTP/1.1 200 OK\r\n", "\r\n"}).tellsEnd());
  EXPECT_FALSE(headOf({"HTTP/1.0 200 OK\r\n", "Transfer-Encoding: identity\r\n", "\r\n"}).tellsEnd());
  EXPECT_FALSE(headOf({"HTTP/0.9 200 OK\r\n", "\r\n"}).tellsEnd());
}

}  // namespace
}  // namespace vellora::hostkit
