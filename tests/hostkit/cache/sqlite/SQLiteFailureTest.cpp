#include "hostkit/cache/sqlite/SQLiteFailure.h"

#include <gtest/gtest.h>

namespace vellora::hostkit::tests {
namespace {

TEST(SQLiteFailureTest, KeepsTheFirst) {
  SQLiteFailure failure;
  failure.note(0);
  EXPECT_FALSE(failure);
  failure.note(5);
  failure.note(11);
  EXPECT_TRUE(failure);
  EXPECT_EQ(failure.code(), 5);
}

TEST(SQLiteFailureTest, StartsOverOnceItIsCleared) {
  SQLiteFailure failure;
  failure.note(5);
  failure.clear();
  EXPECT_FALSE(failure);
  failure.note(11);
  EXPECT_EQ(failure.code(), 11);
}

}  // namespace
}  // namespace vellora::hostkit::tests
