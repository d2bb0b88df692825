#include "tests/vellora/Platform/Values/ErrorWithoutType.h"

#include <gtest/gtest.h>

namespace vellora::tests {
namespace {

TEST(ErrorWithoutTypeTest, HasItsTextButIsNoneThatAnybodyKnows) {
  const Error error = errorWithoutType();
  EXPECT_EQ(error.localizedDescription(), "no type");
  EXPECT_EQ(error.as<ErrorWithoutType>(), nullptr);
}

}  // namespace
}  // namespace vellora::tests
