#include "vellora/DataServices/ArrivedLayouts.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace vellora {
namespace {

class ArrivedLayoutsTest : public testing::Test {
 protected:
  const std::shared_ptr<ArrivedLayouts> home = std::make_shared<ArrivedLayouts>();
  const Date early = Date::since1970(1);
  const Date late = Date::since1970(2);
  std::optional<ArrivedLayouts::Lot> lot = std::optional<ArrivedLayouts::Lot>(
      std::in_place, home, std::vector<ObjectCompactLayoutInfo>{{{}, "Account"}}, early);
};

TEST_F(ArrivedLayoutsTest, FindsALayoutAsLongAsItsDownloadKeepsIt) {
  const auto found = home->named("Account");
  ASSERT_TRUE(found);
  EXPECT_EQ(found->layout.objectType, "Account");
  EXPECT_EQ(found->fetched, early);
  EXPECT_FALSE(home->named("Contact"));
  lot.reset();
  EXPECT_FALSE(home->named("Account"));
}

TEST_F(ArrivedLayoutsTest, OfTwoTheOneThatCameLastCounts) {
  {
    const ArrivedLayouts::Lot second(home, {{{}, "Account"}}, late);
    EXPECT_EQ(home->named("Account")->fetched, late);
  }
  EXPECT_EQ(home->named("Account")->fetched, early);
}

}  // namespace
}  // namespace vellora
