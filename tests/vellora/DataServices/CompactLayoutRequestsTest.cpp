#include "vellora/DataServices/CompactLayoutRequests.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "vellora/DataServices/UrlLength.h"

namespace vellora {
namespace {

TEST(CompactLayoutRequestsTest, ATypeWhoseNameFitsIntoNoUrlIsNotAskedFor) {
  const std::string longest(longestName, 'A');
  EXPECT_THAT(askable({"Account", longest + 'A', longest}), testing::ElementsAre("Account", longest));
}

}  // namespace
}  // namespace vellora
