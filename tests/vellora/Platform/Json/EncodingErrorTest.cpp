#include "vellora/Platform/Json/EncodingError.h"

#include <gtest/gtest.h>

#include "vellora/Platform/Values/Error.h"

namespace vellora {
namespace {

std::string textOf(EncodingError::Kind kind) {
  return EncodingError(kind, "$.a").localizedDescription();
}

TEST(EncodingErrorTest, NamesKindAndPath) {
  EXPECT_EQ(textOf(EncodingError::Kind::numberNotFinite), "cannot write a number that is not finite at $.a");
  EXPECT_EQ(textOf(EncodingError::Kind::textNotUtf8), "cannot write text that is not UTF-8 at $.a");
  EXPECT_EQ(textOf(EncodingError::Kind::keyNotUtf8), "cannot write a key that is not UTF-8 at $.a");
  EXPECT_EQ(textOf(EncodingError::Kind::noValue), "cannot write a null pointer at $.a");
  EXPECT_EQ(textOf(EncodingError::Kind::tooDeep), "cannot write values nested deeper than 512 at $.a");
}

TEST(EncodingErrorTest, TravelsAsAnError) {
  const Error error = EncodingError(EncodingError::Kind::noValue, "$");
  EXPECT_EQ(error.as<EncodingError>()->kind(), EncodingError::Kind::noValue);
}

}  // namespace
}  // namespace vellora
