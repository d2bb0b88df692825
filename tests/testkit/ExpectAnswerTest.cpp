#include "testkit/ExpectAnswer.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "vellora/Catalog/QuestionError.h"
#include "vellora/Catalog/TypeChange.h"

namespace vellora::testkit {
namespace {

using Why = Missing::Why;

class ExpectAnswerTest : public testing::Test {
 protected:
  ExpectAnswerTest() {
    answer.found.emplace("Account", TypeChange::added);
    answer.found.emplace("Contact", TypeChange::changed);
    answer.missing.emplace("", Missing(Why::notAsked, Failure(QuestionError{QuestionError::Case::emptyKey})));
    answer.missing.emplace("Nonsense", Missing(Why::unknown));
  }

  /// What `expect` throws; empty when it is content.
  static std::string objectionOf(const std::function<void()>& expect) {
    try {
      expect();
    } catch (const UnexpectedAnswer& unexpected) {
      return unexpected.what();
    }
    return "";
  }

  Answer<TypeChange> answer;
};

TEST_F(ExpectAnswerTest, GivesWhatIsAsExpected) {
  EXPECT_EQ(expectFound(answer, "Contact"), TypeChange::changed);
  EXPECT_EQ(expectMissing(answer, "", Why::notAsked).text(), "not asked: The key is empty.");
  EXPECT_EQ(expectEnd(answer, End::answered).found.size(), 2U);
}

TEST_F(ExpectAnswerTest, AKeyThatIsMissingIsNotFoundAndTheTextSaysWhy) {
  EXPECT_EQ(objectionOf([this] { expectFound(answer, "Nonsense"); }),
            "expected Nonsense to be found, but the answer is: answered; found: Account, Contact; "
            "missing:  (not asked: The key is empty.), Nonsense (unknown to the server)");
}

TEST_F(ExpectAnswerTest, AKeyThatIsFoundOrMissingForAnotherReasonIsNotAsExpected) {
  const std::string expected = "expected Account to be missing: timed out, but";
  EXPECT_TRUE(objectionOf([this] { expectMissing(answer, "Account", Why::timedOut); }).starts_with(expected));
  EXPECT_NE(objectionOf([this] { expectMissing(answer, "Nonsense", Why::timedOut); }), "");
  EXPECT_NE(objectionOf([this] { expectMissing(answer, "not asked for", Why::unknown); }), "");
}

TEST_F(ExpectAnswerTest, AnotherEndIsToldWithWhatWasTheTrouble) {
  answer = {};
  answer.end = End::timedOut;
  answer.trouble = Failure(QuestionError{QuestionError::Case::timedOut});
  EXPECT_EQ(
      objectionOf([this] { expectEnd(answer, End::cancelled); }),
      "expected the end \"cancelled\", but the answer is: timed out; trouble: The request was not answered "
      "in time.");
  EXPECT_EQ(objectionOf([this] { expectEnd(answer, End::timedOut); }), "");
}

}  // namespace
}  // namespace vellora::testkit
