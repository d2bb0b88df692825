#include "tests/vellora/Platform/Values/ErrorWithoutType.h"

#include <gtest/gtest.h>

#include <string>

namespace vellora::tests {
namespace {

struct OtherError {
  [[nodiscard]] std::string localizedDescription() const { return "other"; }
};

TEST(ErrorWithoutTypeTest, IsFoundByWhoHasTypes) {
  const Error error = errorWithoutType();
  EXPECT_EQ(error.localizedDescription(), "no type");
  ASSERT_NE(error.as<ErrorWithoutType>(), nullptr);
  EXPECT_EQ(error.as<OtherError>(), nullptr);
}

// Which of the two sources' copies of the error's functions the linker has kept does not matter.
TEST(ErrorWithoutTypeTest, FindsWhatWasMadeByWhoHasTypes) {
  EXPECT_TRUE(isErrorWithoutType(ErrorWithoutType()));
  EXPECT_FALSE(isErrorWithoutType(OtherError()));
}

TEST(ErrorWithoutTypeTest, LeavesTheSameTypeToOthers) {
  const Error error = ErrorWithoutType();
  EXPECT_NE(error.as<ErrorWithoutType>(), nullptr);
}

}  // namespace
}  // namespace vellora::tests
