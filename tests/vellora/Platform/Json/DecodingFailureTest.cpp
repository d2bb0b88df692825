#include "vellora/Platform/Json/DecodingFailure.h"

#include <gtest/gtest.h>

#include "vellora/Platform/Json/JsonDocument.h"

namespace vellora::json {
namespace {

TEST(DecodingFailureTest, TellsWhatHappenedAndWhere) {
  Document document;
  DecodingFailure failure(document);
  EXPECT_FALSE(failure.missingKey("name"));
  EXPECT_FALSE(failure.under(2));
  EXPECT_FALSE(failure.under("sobjects"));
  EXPECT_EQ(failure.error(), DecodingError::missingKey("name", "$.sobjects[2]"));
}

TEST(DecodingFailureTest, IsThatOfTheLastAttempt) {
  Document document;
  DecodingFailure failure(document);
  failure.missingKey("name");
  failure.under("theme");
  failure.clear();
  failure.typeMismatch("a string");
  EXPECT_EQ(failure.error(), DecodingError::typeMismatch("a string", "$"));
  failure.clear();
  failure.missingKey("name");
  EXPECT_EQ(failure.error(), DecodingError::missingKey("name", "$"));
}

}  // namespace
}  // namespace vellora::json
