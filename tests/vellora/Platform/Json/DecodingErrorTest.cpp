#include "vellora/Platform/Json/DecodingError.h"

#include <gtest/gtest.h>

#include "vellora/Platform/Values/Error.h"

namespace vellora {
namespace {

TEST(DecodingErrorTest, NamesAMissingKey) {
  const auto error = DecodingError::missingKey("labelPlural", "$.sobjects[3]");
  EXPECT_EQ(error.kind(), DecodingError::Kind::missingKey);
  EXPECT_EQ(error.localizedDescription(), R"(missing key "labelPlural" at $.sobjects[3])");
}

TEST(DecodingErrorTest, NamesTheTypeThatWasExpected) {
  const auto error = DecodingError::typeMismatch("a boolean", "$.sobjects[3].createable");
  EXPECT_EQ(error.kind(), DecodingError::Kind::typeMismatch);
  EXPECT_EQ(error.localizedDescription(), "expected a boolean at $.sobjects[3].createable");
}

TEST(DecodingErrorTest, NamesTheByteWhereTheTextIsNoJson) {
  const auto error = DecodingError::invalidJson(812, "syntax error");
  EXPECT_EQ(error.kind(), DecodingError::Kind::invalidJson);
  EXPECT_EQ(error.localizedDescription(), "not valid JSON at byte 812: syntax error");
  EXPECT_EQ(DecodingError::invalidJson("too large").localizedDescription(), "not valid JSON: too large");
}

TEST(DecodingErrorTest, TravelsAsAnError) {
  const Error error = DecodingError::invalidJson(0, "syntax error");
  EXPECT_EQ(error.localizedDescription(), "not valid JSON at byte 0: syntax error");
  EXPECT_EQ(*error.as<DecodingError>(), DecodingError::invalidJson(0, "syntax error"));
}

}  // namespace
}  // namespace vellora
