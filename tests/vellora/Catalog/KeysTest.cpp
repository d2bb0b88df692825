#include "vellora/Catalog/Keys.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> listOf(const Keys& keys) {
  return keys.list();
}

TEST(KeysTest, AreMadeOfTextsOrOfAList) {
  const std::string name = "Contact";
  EXPECT_THAT(listOf({"Account", name}), ElementsAre("Account", "Contact"));
  EXPECT_THAT(listOf({"Account"}), ElementsAre("Account"));
  EXPECT_THAT(listOf("Account"), ElementsAre("Account"));
  const std::vector<std::string> names{"Account", "Contact"};
  EXPECT_THAT(listOf(names), ElementsAre("Account", "Contact"));
  EXPECT_THAT(listOf({}), IsEmpty());
}

}  // namespace
}  // namespace vellora
