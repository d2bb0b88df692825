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
  const auto ofJson = headOf({"Content-Type: Application/JSON;charset=UTF-8"});
  EXPECT_TRUE(isWhole(Data(std::string("{\"themeItems\":[]}")), ofJson));
  for (const std::string cut : {"", "{\"themeItems\":[", "<html>"}) {
    EXPECT_FALSE(isWhole(Data(cut), ofJson)) << cut;
    EXPECT_TRUE(isWhole(Data(cut), headOf({"Content-Type: text/html"}))) << cut;
    EXPECT_TRUE(isWhole(Data(cut), headOf({}))) << cut;
  }
}

TEST(ValidatorsTest, KnowsARequestThatHasAConditionOfItsOwn) {
  for (const std::string& line : Lines{"If-None-Match: \"a\"", "if-modified-since: " + date, "IF-MATCH: *",
                                       "Range: bytes=0-1", "Cache-Control: no-cache", "Pragma;"}) {
    EXPECT_TRUE(hasOwnCondition({"Accept: */*", line})) << line;
  }
  EXPECT_FALSE(hasOwnCondition({"Accept: */*", "X-If-None-Match: 1", "Authorization: Bearer range"}));
}

}  // namespace
}  // namespace vellora::hostkit
