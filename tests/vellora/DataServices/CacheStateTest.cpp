#include "vellora/DataServices/CacheState.h"

#include <gtest/gtest.h>

namespace vellora {

TEST(CacheStateTest, IsDescribedByItsName) {
  EXPECT_EQ(describe(CacheState::empty), "empty");
  EXPECT_EQ(describe(CacheState::expired), "expired");
  EXPECT_EQ(describe(CacheState::valid), "valid");
}

}  // namespace vellora
