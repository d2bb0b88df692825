#include "vellora/Platform/Values/Result.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

namespace vellora {
namespace {

struct LockedDoor {
  std::string localizedDescription() const { return "The door is locked."; }
};

Result<std::string> failure() {
  return Error(LockedDoor());
}

TEST(ResultTest, IsEitherAValueOrAnError) {
  Result<std::string> success = std::string("open");
  ASSERT_TRUE(success);
  EXPECT_EQ(success.value(), "open");
  EXPECT_EQ(std::as_const(success).value(), "open");

  ASSERT_FALSE(failure());
  EXPECT_EQ(failure().error().localizedDescription(), "The door is locked.");
}

TEST(ResultTest, GivesItsValueAwayWhenItGoes) {
  Result<std::unique_ptr<int>> success = std::make_unique<int>(7);
  EXPECT_EQ(*std::move(success).value(), 7);
}

// The processes of these are fresh ones: other tests have left threads in this one.
class ResultDeathTest : public testing::Test {
 protected:
  ResultDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  static constexpr const char* said =
      "vellora: the value of a failed Result was asked for: The door is locked\\.\n";
};

TEST_F(ResultDeathTest, AskingAFailureForItsValueSaysWhatTheFailureWas) {
  Result<std::string> failed = failure();
  EXPECT_DEATH(static_cast<void>(failed.value()), said);
  EXPECT_DEATH(static_cast<void>(std::as_const(failed).value()), said);
  EXPECT_DEATH(static_cast<void>(std::move(failed).value()), said);
}

TEST_F(ResultDeathTest, AskingASuccessForItsErrorSaysThatThereIsNone) {
  const Result<std::string> success = std::string("open");
  EXPECT_DEATH(static_cast<void>(success.error()),
               "vellora: the error of a Result without one was asked for\\.\n");
}

}  // namespace
}  // namespace vellora
