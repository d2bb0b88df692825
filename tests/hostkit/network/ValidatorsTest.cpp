#include "hostkit/network/Validators.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace vellora::hostkit {
namespace {

using CorvaneSDK::Meta;
using Lines = std::vector<std::string>;

ResponseHead headOf(const Lines& lines) {
  ResponseHead head;
  EXPECT_TRUE(head.takeLine("HTTP/1.1 200 OK\r\n"));
  for (const auto& line : lines) EXPECT_TRUE(head.takeLine(line + "\r\n"));
  EXPECT_TRUE(head.takeLine("\r\n"));
  return head;
}

std::optional<Meta> validators(const Lines& lines) {
  return validatorsIn(headOf(lines));
}

const std::string date = "Sun, 06 Nov 1994 08:49:37 GMT";
const std::string dateLine = "Last-Modified: " + date;

TEST(ValidatorsTest, OfATagAreTheTagAndWhatTheBodyIs) {
  EXPECT_EQ(validators({"ETag: \"a1\"", "Content-Type: application/json", "Content-Encoding: gzip",
                        "Set-Cookie: secret", "Vary: Accept-Encoding"}),
            (Meta{{"etag", "\"a1\""}, {"content-type", "application/json"}, {"content-encoding", "gzip"}}));
}

TEST(ValidatorsTest, AWeakTagIsOneAsWell) {
  EXPECT_EQ(validators({"ETag: W/\"a1\""}), (Meta{{"etag", "W/\"a1\""}}));
}

TEST(ValidatorsTest, WithoutATagOrADateThereAreNone) {
  EXPECT_EQ(validators({"Content-Type: application/json"}), std::nullopt);
}

TEST(ValidatorsTest, ATagThatIsNoneIsNotAskedForNorIsItsDate) {
  for (const std::string tag :
       {"a1", "\"a", "a\"", "\"", "", "\"a b\"", "\"a\"b\"", "W/", "w/\"a\"", "\"\x7f\"", "\"a\", \"b\""}) {
    EXPECT_EQ(validators({"ETag: " + tag, dateLine}), std::nullopt) << tag;
  }
  EXPECT_TRUE(validators({"ETag: \"\""}));
  EXPECT_TRUE(validators({"ETag: \"" + std::string(longestTag - 2, 'x') + "\""}));
  EXPECT_FALSE(validators({"ETag: \"" + std::string(longestTag - 1, 'x') + "\""}));
}

TEST(ValidatorsTest, TwoTagsAreNone) {
  EXPECT_EQ(validators({"ETag: \"a\"", "ETag: \"b\""}), std::nullopt);
}

TEST(ValidatorsTest, ADateThatIsOlderThanTheAnswerIsBelieved) {
  EXPECT_EQ(validators({dateLine}), (Meta{{"last-modified", date}}));
  EXPECT_TRUE(validators({dateLine, "Date: Sun, 06 Nov 1994 08:49:38 GMT"}));
}

TEST(ValidatorsTest, ADateThatIsAsOldAsTheAnswerIsNot) {
  EXPECT_FALSE(validators({dateLine, "Date: " + date}));
  EXPECT_FALSE(validators({dateLine, "Date: Sun, 06 Nov 1994 08:49:36 GMT"}));
}

TEST(ValidatorsTest, ADateThatIsStillToComeIsNotBelieved) {
  EXPECT_FALSE(validators({"Last-Modified: Fri, 06 Nov 2150 08:49:37 GMT"}));
}

TEST(ValidatorsTest, WhatIsNoDateIsNot) {
  EXPECT_FALSE(validators({"Last-Modified: lately"}));
  EXPECT_FALSE(validators({dateLine + std::string(100, ' ') + "x"}));
}

TEST(ValidatorsTest, WhatMustNotBeStoredOrVariesWithEverythingIsNotKept) {
  EXPECT_FALSE(validators({"ETag: \"a\"", "Cache-Control: private, No-Store"}));
  EXPECT_FALSE(validators({"ETag: \"a\"", "Vary: *"}));
  EXPECT_TRUE(validators({"ETag: \"a\"", "Cache-Control: private, max-age=0", "Vary: Authorization"}));
}

TEST(ValidatorsTest, TheConditionIsTheTagOrElseTheDate) {
  EXPECT_EQ(conditionOn({{"etag", "\"a\""}, {"last-modified", date}}), "If-None-Match: \"a\"");
  EXPECT_EQ(conditionOn({{"last-modified", date}}), "If-Modified-Since: " + date);
}

TEST(ValidatorsTest, ANotModifiedIsAboutTheBodyUnlessItNamesAnother) {
  const Meta tagged{{"etag", "\"a\""}, {"last-modified", date}};
  EXPECT_TRUE(isAbout(tagged, headOf({})));
  EXPECT_TRUE(isAbout(tagged, headOf({"ETag: \"a\""})));
  EXPECT_TRUE(isAbout(tagged, headOf({"ETag: W/\"a\""})));
  EXPECT_FALSE(isAbout(tagged, headOf({"ETag: \"b\""})));
  const Meta dated{{"last-modified", date}};
  EXPECT_TRUE(isAbout(dated, headOf({})));
  EXPECT_TRUE(isAbout(dated, headOf({dateLine})));
  EXPECT_FALSE(isAbout(dated, headOf({"Last-Modified: Sun, 06 Nov 1994 08:49:38 GMT"})));
  EXPECT_FALSE(isAbout({}, headOf({})));
}

TEST(ValidatorsTest, ABodyThatIsSaidToBeJsonIsWholeWhenItIs) {
  const auto ofJson = headOf({"Content-Type: Application/JSON;charset=UTF-8", "Content-Length: 1"});
  EXPECT_TRUE(isWhole(Data(std::string("{\"themeItems\":[]}")), ofJson));
  for (const std::string cut : {"", "{\"themeItems\":[", "<html>"}) {
    EXPECT_FALSE(isWhole(Data(cut), ofJson)) << cut;
    EXPECT_TRUE(isWhole(Data(cut), headOf({"Content-Type: text/html", "Content-Length: 1"}))) << cut;
    EXPECT_TRUE(isWhole(Data(cut), headOf({"Content-Length: 1"}))) << cut;
  }
}

TEST(ValidatorsTest, KnowsARequestThatHasAConditionOfItsOwn) {
  for (const std::string& line : Lines{"If-None-Match: \"a\"", "if-modified-since: " + date, "IF-MATCH: *",
                                       "Range: bytes=0-1", "Cache-Control: no-cache", "Pragma;"}) {
    EXPECT_TRUE(hasOwnCondition({"Accept: */*", line})) << line;
  }
  EXPECT_FALSE(hasOwnCondition({"Accept: */*", "X-If-None-Match: 1", "Authorization: Bearer range"}));
}

TEST(ValidatorsTest, ABodyWhoseEndNothingTellsMayBeCutOff) {
  const Data body(std::string("half"));
  EXPECT_FALSE(isWhole(body, headOf({})));
  EXPECT_FALSE(isWhole(body, headOf({"Content-Type: text/plain", "Content-Encoding: identity"})));
  EXPECT_TRUE(isWhole(body, headOf({"Content-Length: 4"})));
  EXPECT_TRUE(isWhole(body, headOf({"Transfer-Encoding: Chunked"})));
  EXPECT_FALSE(isWhole(body, headOf({"Content-Encoding:"})));
  EXPECT_FALSE(isWhole(Data(std::string("{}")), headOf({"Content-Type: application/json"})));
  EXPECT_TRUE(isWhole(body, headOf({"Content-Encoding: gzip"})));
  EXPECT_FALSE(isWhole(Data(), headOf({"Content-Encoding: gzip", "Content-Length: 0"})));
}

TEST(ValidatorsTest, ADateWithAnotherCharacterThanADateHasIsNone) {
  for (const char strange : {'\r', '\t', '\x7f', '\xe9'}) {
    EXPECT_FALSE(validators({"Last-Modified: Sun, 06 Nov" + std::string(1, strange) + "1994 08:49:37 GMT"}));
  }
}

TEST(ValidatorsTest, AnAnswerWhoseDateIsNoneIsOfNow) {
  for (const char strange : {'\x1f', '\x7f', '\xe9'}) {
    EXPECT_TRUE(validators({dateLine, "Date: Sun, 06 Nov" + std::string(1, strange) + "1994 08:49:36 GMT"}));
  }
}

TEST(ValidatorsTest, OfHeadersThatAreTooLongNothingIsKept) {
  EXPECT_TRUE(validators({"ETag: \"a\"", "Content-Type: " + std::string(longestTag, 'x')}));
  EXPECT_FALSE(validators({"ETag: \"a\"", "Content-Type: " + std::string(longestTag + 1, 'x')}));
  EXPECT_FALSE(validators({"ETag: \"a\"", "Content-Encoding: " + std::string(longestTag + 1, 'x')}));
  EXPECT_FALSE(validators({"ETag: \"a\"", "Last-Modified: " + std::string(longestTag + 1, 'x')}));
}

TEST(ValidatorsTest, WhatAServerMayHaveSentCanBeAskedFor) {
  for (const Meta& sent : {Meta{{"etag", "\"a\""}}, Meta{{"last-modified", date}},
                           Meta{{"etag", "W/\"a\""}, {"last-modified", "lately"}, {"content-type", "x"}},
                           Meta{{"etag", "\"a\""}, {"content-type", "text/plain;\tx y~"}},
                           Meta{{"last-modified", "Thu, 01 Jan 1970 00:00:00 GMT"}},
                           Meta{{"last-modified", date + std::string(64 - date.size(), ' ')}}}) {
    EXPECT_TRUE(canBeAskedFor(sent)) << testing::PrintToString(sent);
  }
}

TEST(ValidatorsTest, WhatNoServerCanHaveSentCannotBeAskedFor) {
  const std::string evil = "\r\nX-Evil: 1";
  for (const Meta& stored :
       {Meta{}, Meta{{"content-type", "x"}}, Meta{{"etag", "\"a\"" + evil}},
        Meta{{"etag", "\"a" + evil + '"'}}, Meta{{"etag", ""}}, Meta{{"last-modified", date + evil}},
        Meta{{"last-modified", "lately"}}, Meta{{"etag", "a"}, {"last-modified", date}},
        Meta{{"last-modified", date + std::string(65 - date.size(), ' ')}},
        Meta{{"etag", "\"a\""}, {"content-type", "x\x7f"}},
        Meta{{"etag", "\"a\""}, {"content-type", "x\x1f"}},
        Meta{{"etag", "\"a\""}, {"content-type", "x" + evil}}, Meta{{"etag", "\"a\""}, {"x-evil", "1"}},
        Meta{{"etag", "\"a\""}, {"content-type", std::string(longestTag + 1, 'x')}}}) {
    EXPECT_FALSE(canBeAskedFor(stored)) << testing::PrintToString(stored);
  }
}

}  // namespace
}  // namespace vellora::hostkit
