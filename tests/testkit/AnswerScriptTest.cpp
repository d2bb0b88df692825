#include "testkit/AnswerScript.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/Requests.h"

namespace vellora::testkit {
namespace {

class AnswerScriptTest : public testing::Test {
 protected:
  static StubAnswer body(const std::string& text) { return StubAnswer::body(Data(text)); }

  /// The body of the answer to a GET of that URL, or "none".
  std::string answerTo(const std::string& url) {
    const auto answer = script.take(tests::get(url));
    return answer ? std::string(answer->data()->view()) : "none";
  }

  static bool any(const CorvaneSDK::NetRequest&) { return true; }
  static bool none(const CorvaneSDK::NetRequest&) { return false; }

  AnswerScript script;
};

TEST_F(AnswerScriptTest, TheNewestRuleThatMatchesCounts) {
  script.addRule(any, {body("old")});
  script.addRule(any, {body("new")});
  script.addRule(none, {body("for another")});
  EXPECT_EQ(answerTo("/a"), "new");
}

TEST_F(AnswerScriptTest, TheLastAnswerOfARuleStays) {
  script.addRule(any, {body("first"), body("last")});
  EXPECT_EQ(answerTo("/a"), "first");
  EXPECT_EQ(answerTo("/a"), "last");
  EXPECT_EQ(answerTo("/a"), "last");
}

TEST_F(AnswerScriptTest, ARuleWithoutAnswersIsNone) {
  script.addRule(any, {});
  EXPECT_EQ(answerTo("/a"), "none");
}

TEST_F(AnswerScriptTest, QueuedAnswersAreUsedUpByWhatNoRuleMatches) {
  script.addNext(body("first"));
  script.addNext(body("second"));
  script.addRule([](const auto& request) { return request.base().url.absoluteString() == "/ruled"; },
                 {body("by rule")});
  EXPECT_EQ(answerTo("/a"), "first");
  EXPECT_EQ(answerTo("/ruled"), "by rule");
  EXPECT_EQ(answerTo("/b"), "second");
  EXPECT_EQ(answerTo("/c"), "none");
}

TEST_F(AnswerScriptTest, APredicateMayScript) {
  script.addRule(
      [this](const auto&) {
        script.addNext(body("added meanwhile"));
        return false;
      },
      {body("unused")});
  EXPECT_EQ(answerTo("/a"), "added meanwhile");
}

}  // namespace
}  // namespace vellora::testkit
