#include "apps/vellora/lookups/ByObjectType.h"

#include <gtest/gtest.h>

#include <vector>

#include "vellora/Models/ObjectLayoutInfo.h"

namespace vellora::command {
namespace {

TEST(ByObjectTypeTest, TheLaterOfTwoLayoutsOfOneTypeStands) {
  const ObjectLayoutInfo earlier{.objectType = "Account", .searchColumns = {}};
  const ObjectLayoutInfo later{.objectType = "Account", .searchColumns = {{"Name", "Name", {}, "Name"}}};
  const ObjectLayoutInfo other{.objectType = "Case", .searchColumns = {}};
  const auto byType = byObjectType(std::vector{earlier, other, later});
  ASSERT_EQ(byType.size(), 2U);
  EXPECT_EQ(byType.at("Account"), later);
  EXPECT_EQ(byType.at("Case"), other);
}

}  // namespace
}  // namespace vellora::command
