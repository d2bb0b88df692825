#include "vellora/Platform/Values/Error.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "tests/support/PassingError.h"

namespace vellora {
namespace {

struct Refused {
  std::string host;
  [[nodiscard]] std::string localizedDescription() const { return "cannot reach " + host; }
};

struct Coded {
  [[nodiscard]] std::string localizedDescription() const {
    return defaultErrorDescription("Coded", "timedOut");
  }
  [[nodiscard]] static std::string description() { return "timedOut"; }
};

TEST(ErrorTest, GivesBackTheConcreteError) {
  const Error error = Refused{"example"};
  ASSERT_NE(error.as<Refused>(), nullptr);
  EXPECT_EQ(error.as<Refused>()->host, "example");
  EXPECT_EQ(error.as<Coded>(), nullptr);
}

TEST(ErrorTest, CopiesShareTheError) {
  const Error error = Refused{"example"};
  const Error copy =
      error;  // NOLINT(performance-unnecessary-copy-initialization): the copy is what is tested
  EXPECT_EQ(copy.as<Refused>(), error.as<Refused>());
}

TEST(ErrorTest, TextualFormIsTheDescriptionWhereThereIsNoOther) {
  EXPECT_EQ(Error(Refused{"example"}).description(), "cannot reach example");
  EXPECT_EQ(Error(Coded{}).description(), "timedOut");
}

TEST(ErrorTest, DefaultDescriptionNamesTypeAndCase) {
  EXPECT_EQ(Error(Coded{}).localizedDescription(), "The operation could not be completed. (Coded.timedOut)");
}

TEST(ErrorTest, DefaultDescriptionHoldsThePayloadsDescription) {
  EXPECT_EQ(defaultErrorDescription("ServiceError", "other", Refused{"example"}),
            "The operation could not be completed. (ServiceError.other: cannot reach example)");
}

TEST(ErrorTest, SaysThatTryingAgainMayHelpWhereItsTypeDoes) {
  EXPECT_EQ(Error(tests::PassingError{"busy", std::chrono::seconds(3)}).retryAdvice(),
            (RetryAdvice{std::chrono::seconds(3)}));
  EXPECT_EQ(Error(tests::PassingError{}).retryAdvice(), RetryAdvice());
  EXPECT_FALSE(Error(Refused{"example"}).retryAdvice());
}

}  // namespace
}  // namespace vellora
