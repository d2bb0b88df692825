#include "apps/vellora/command/Keys.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace vellora::command {
namespace {

using testing::ElementsAre;

TEST(KeysTest, AreTheArgumentsAndStandardInputIsLeftAlone) {
  Arguments arguments;
  arguments.keys = {"Account", "-"};
  std::istringstream input("Contact\n");
  EXPECT_THAT(keysToLookUp(arguments, input), ElementsAre("Account", "-"));
  EXPECT_EQ(input.tellg(), 0);
}

TEST(KeysTest, ADashAloneTakesTheLinesOfStandardInput) {
  Arguments arguments;
  arguments.keys = {"-"};
  std::istringstream input("Account\r\n\n Contact \nCase");
  EXPECT_THAT(keysToLookUp(arguments, input), ElementsAre("Account", " Contact ", "Case"));
}

TEST(KeysTest, TheFirstKeyThatIsNotUtf8IsFound) {
  EXPECT_EQ(keyThatIsNoText({"Account", "Köln \U0001F642 \uFFFD", ""}), std::nullopt);
  EXPECT_EQ(keyThatIsNoText({"Account", "001\xff", "\xc3"}), "001\xff");
}

}  // namespace
}  // namespace vellora::command
