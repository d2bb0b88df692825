#include "vellora/Host/ServiceIdentifier.h"

#include <gtest/gtest.h>

namespace CorvaneSDK {
namespace {

TEST(ServiceIdentifierTest, IsMadeOfNameAndVersionInParenthesesAndInBraces) {
  const auto identifier = ServiceIdentifier("VelloraService", 1);
  EXPECT_EQ(identifier.name, "VelloraService");
  EXPECT_EQ(identifier.version, 1);
  EXPECT_EQ(identifier, (ServiceIdentifier{"VelloraService", 1}));
}

}  // namespace
}  // namespace CorvaneSDK
