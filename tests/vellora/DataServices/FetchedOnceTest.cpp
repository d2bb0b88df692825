#include "vellora/DataServices/FetchedOnce.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "tests/support/TestError.h"
#include "vellora/Models/ThemeItem.h"

namespace vellora {
namespace {

using Fetched = FetchedOnce<ThemeItem>;

Fetched::List listOf(const std::string& name) {
  return std::make_shared<const NamedList<ThemeItem>>(
      std::vector<ThemeItem>{ThemeItem{name, std::nullopt, {}}});
}

TEST(FetchedOnceTest, SaysNothingBeforeSomethingHasCome) {
  EXPECT_FALSE(Fetched(nullptr).named("Account"));
}

TEST(FetchedOnceTest, FindsNamesInWhatHasCome) {
  Fetched fetched(nullptr);
  EXPECT_EQ(fetched.noted(listOf("Account"), "Account").value()->name, "Account");
  EXPECT_EQ(fetched.named("Account")->value()->name, "Account");
  EXPECT_FALSE(fetched.named("Contact")->value());
}

TEST(FetchedOnceTest, KnowsWhatWasFetchedBefore) {
  EXPECT_EQ(Fetched(listOf("Account")).named("Account")->value()->name, "Account");
}

TEST(FetchedOnceTest, AFailureIsThatOfEachName) {
  Fetched fetched(nullptr);
  EXPECT_FALSE(fetched.noted(Error(tests::TestError{"down"}), "Account"));
  EXPECT_EQ(fetched.named("Contact")->error().localizedDescription(), "down");
}

}  // namespace
}  // namespace vellora
