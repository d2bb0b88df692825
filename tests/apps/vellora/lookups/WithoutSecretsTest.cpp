#include "apps/vellora/lookups/WithoutSecrets.h"

#include <gtest/gtest.h>

#include <string>

#include "hostkit/network/CurlNetworkError.h"
#include "vellora/Catalog/QuestionError.h"
#include "vellora/DataServices/ThemeDataServiceError.h"

namespace vellora::command {
namespace {

class WithoutSecretsTest : public testing::Test {
 protected:
  WithoutSecretsTest() { secrets.note("S3cret-of-somebody"); }

  hostkit::KnownSecrets secrets;
  const Failure failure{ThemeDataServiceError::network().ofRequest(
      "/a?b", Error(hostkit::CurlNetworkError{hostkit::CurlNetworkError::Kind::errorStatus,
                                              "401: S3cret-of-somebody"}))};
};

TEST_F(WithoutSecretsTest, AFailureKeepsItsRequestAndItsWordsButForTheSecret) {
  const auto cleaned = withoutSecrets(failure, secrets);
  EXPECT_EQ(cleaned.text(), "401: [token] (/a?b)");
  EXPECT_EQ(cleaned.url(), "/a?b");
}

TEST_F(WithoutSecretsTest, AReasonThatIsNoRequestHasNone) {
  const Missing refused(Missing::Why::notAsked, Failure(QuestionError{QuestionError::Case::emptyKey}));
  EXPECT_EQ(withoutSecrets(refused, secrets).text(), refused.text());
  EXPECT_EQ(withoutSecrets(refused, secrets).failure()->url(), "");
  EXPECT_EQ(withoutSecrets(Missing(Missing::Why::unknown), secrets).failure(), nullptr);
}

TEST_F(WithoutSecretsTest, AnAnswerIsCleanedInAllItsReasonsAndNothingElse) {
  Answer<std::string> answer;
  answer.found = {{"k", "S3cret-of-somebody"}};
  answer.missing.emplace("m", Missing(Missing::Why::failed, failure));
  answer.trouble = failure;
  const auto cleaned = withoutSecrets(answer, secrets);
  EXPECT_EQ(cleaned.missing.at("m").text(), "could not be asked: 401: [token] (/a?b)");
  EXPECT_EQ(cleaned.trouble->text(), "401: [token] (/a?b)");
  EXPECT_EQ(cleaned.found, answer.found) << "that is the server's data";
}

}  // namespace
}  // namespace vellora::command
