#include "vellora/Platform/Values/Borrowed.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>

namespace vellora {
namespace {

TEST(BorrowedTest, GivesTheValueThatItWasLent) {
  const std::string lent = "lent";
  EXPECT_EQ(Borrowed<std::string>(lent).value(), "lent");
  EXPECT_EQ(Borrowed<std::string>().value(), "");
}

TEST(BorrowedTest, TakesNothingThatNobodyKeeps) {
  EXPECT_TRUE((std::is_constructible_v<Borrowed<std::string>, const std::string&>));
  EXPECT_FALSE((std::is_constructible_v<Borrowed<std::string>, std::string>));
}

TEST(BorrowedTest, CanBeCopiedBitByBit) {
  EXPECT_TRUE(std::is_trivially_copyable_v<Borrowed<std::shared_ptr<int>>>);
  EXPECT_TRUE(std::is_trivially_destructible_v<Borrowed<std::shared_ptr<int>>>);
}

struct Derived : std::string {};

TEST(BorrowedTest, TakesWhatConvertsWhereItStands) {
  const auto derived = std::make_shared<Derived>();
  derived->append("lent");
  const Borrowed<std::shared_ptr<std::string>> borrowed(derived);
  EXPECT_EQ(*borrowed.value(), "lent");
  EXPECT_FALSE((std::is_constructible_v<Borrowed<std::shared_ptr<std::string>>, std::shared_ptr<Derived>>));
}

}  // namespace
}  // namespace vellora
