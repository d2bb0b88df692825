#include "hostkit/cache/rows/HexDigits.h"

#include <gtest/gtest.h>

#include <string>

namespace vellora::hostkit {
namespace {

TEST(HexDigitsTest, WritesEachByteAsTwoSmallDigits) {
  EXPECT_EQ(hexDigits(std::string("\0\x0F\xA5\xFF", 4)), "000fa5ff");
  EXPECT_EQ(hexDigits("Az"), "417a");
  EXPECT_EQ(hexDigits(""), "");
}

}  // namespace
}  // namespace vellora::hostkit
