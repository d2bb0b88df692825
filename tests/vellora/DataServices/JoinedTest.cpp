#include "vellora/DataServices/Joined.h"

#include <gtest/gtest.h>

namespace vellora {
namespace {

TEST(JoinedTest, JoinsNamesInTheirOrder) {
  EXPECT_EQ(joined({}, ","), "");
  EXPECT_EQ(joined({"A"}, ","), "A");
  EXPECT_EQ(joined({"B", "A", "", "A"}, ", "), "B, A, , A");
}

TEST(JoinedTest, QuotesEachNameForAQuery) {
  EXPECT_EQ(quoted({}), "''");
  EXPECT_EQ(quoted({"B", "A"}), "'B','A'");
}

}  // namespace
}  // namespace vellora
