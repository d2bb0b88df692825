#include "vellora/DataServices/Joined.h"

#include <gtest/gtest.h>

namespace vellora {
namespace {

TEST(JoinedTest, JoinsNamesInTheirOrder) {
  EXPECT_EQ(joined({}, ","), "");
  EXPECT_EQ(joined({"A"}, ","), "A");
  EXPECT_EQ(joined({"B", "A", "", "A"}, ", "), "B, A, , A");
}

}  // namespace
}  // namespace vellora
