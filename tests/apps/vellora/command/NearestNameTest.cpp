#include "apps/vellora/command/NearestName.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace vellora::command {
namespace {

const std::vector<std::string> types{"Account", "Contact", "Contract", "Opportunity", "OpportunityLineItem"};

TEST(NearestNameTest, TheSameNameInAnotherCaseIsMeant) {
  EXPECT_EQ(nearestName("account", types), "Account");
  EXPECT_EQ(nearestName("CONTRACT", types), "Contract");
}

TEST(NearestNameTest, LettersThatAreMissingTooManyWrongOrSwappedAreCorrected) {
  EXPECT_EQ(nearestName("Acount", types), "Account");
  EXPECT_EQ(nearestName("Accounts", types), "Account");
  EXPECT_EQ(nearestName("Accaunt", types), "Account");
  EXPECT_EQ(nearestName("Acocunt", types), "Account");
  EXPECT_EQ(nearestName("list", {"show", "ls", "verify"}), "ls");
}

TEST(NearestNameTest, TheOneWithFewestCorrectionsIsMeant) {
  EXPECT_EQ(nearestName("Contrac", {"Contact", "Contract"}), "Contract");
  EXPECT_EQ(nearestName("Contat", {"Contract", "Contact"}), "Contact");
}

TEST(NearestNameTest, TheOnlyOneThatBeginsSoIsMeant) {
  EXPECT_EQ(nearestName("compact", {"search-layouts", "compact-layouts"}), "compact-layouts");
  EXPECT_EQ(nearestName("opp", types), std::nullopt) << "two begin so";
  EXPECT_EQ(nearestName("ac", types), std::nullopt) << "two letters may be anything";
}

TEST(NearestNameTest, AnotherWordMeansNone) {
  EXPECT_EQ(nearestName("Nonsense", types), std::nullopt);
  EXPECT_EQ(nearestName("x", {"ls", "y"}), std::nullopt);
  EXPECT_EQ(nearestName("bearer", {"server"}), std::nullopt) << "three of six letters";
  EXPECT_EQ(nearestName("", types), std::nullopt);
  EXPECT_EQ(nearestName("Account", {}), std::nullopt);
  EXPECT_EQ(nearestName(std::string(10'000'000, 'A'), types), std::nullopt);
  EXPECT_EQ(nearestName("Account", {std::string(10'000'000, 'A')}), std::nullopt);
}

}  // namespace
}  // namespace vellora::command
