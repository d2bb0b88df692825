#include "apps/vellora/changes/Difference.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vellora::command {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(DifferenceTest, WhatIsAlikeHasNone) {
  const Snapshot same{{{"Account", {{"label", "Account"}}}}, {{"Account", {}}}, {}};
  EXPECT_THAT(differencesBetween(same, same), IsEmpty());
}

TEST(DifferenceTest, TypesAndLayoutsAreAddedRemovedAndChanged) {
  const Snapshot before{{{"Account", {{"label", "Account"}}}, {"Old", {}}}, {{"Account", {}}}, {}};
  const Snapshot after{
      {{"Account", {{"label", "Customer"}}}, {"New", {}}}, {}, {{"Account", {{"Name", "Name, string"}}}}};
  EXPECT_THAT(differencesBetween(before, after),
              ElementsAre(Difference{"type", "Account", "changed", {{"label", "Account", "Customer"}}},
                          Difference{"type", "New", "added", {}}, Difference{"type", "Old", "removed", {}},
                          Difference{"search layout", "Account", "removed", {}},
                          Difference{"compact layout", "Account", "added", {}}));
}

TEST(DifferenceTest, APropertyIsNewGoneOrOtherwise) {
  const Snapshot before{{{"A", {{"label", "A"}, {"colour", "F00"}, {"plural", "As"}}}}, {}, {}};
  const Snapshot after{{{"A", {{"label", "A"}, {"plural", "Aa"}, {"small icon", "/a.png"}}}}, {}, {}};
  const auto differences = differencesBetween(before, after);
  ASSERT_EQ(differences.size(), 1U);
  EXPECT_THAT(differences[0].properties,
              ElementsAre(PropertyChange{"colour", "F00", std::nullopt}, PropertyChange{"plural", "As", "Aa"},
                          PropertyChange{"small icon", std::nullopt, "/a.png"}));
}

TEST(DifferenceTest, AnotherOrderOfTheSameIsAChange) {
  const Snapshot before{{}, {{"A", {{"Name", "N"}, {"Phone", "P"}}}}, {}};
  const Snapshot after{{}, {{"A", {{"Phone", "P"}, {"Name", "N"}}}}, {}};
  EXPECT_THAT(
      differencesBetween(before, after),
      ElementsAre(Difference{"search layout", "A", "changed", {{"order", "Name, Phone", "Phone, Name"}}}));
}

TEST(DifferenceTest, PropertiesOfOneNameAreToldApart) {
  const Snapshot before{{}, {{"A", {{"Name", "N"}, {"Name", "M"}}}}, {}};
  const Snapshot after{{}, {{"A", {{"Name", "N"}, {"Name", "O"}, {"Name", "M"}}}}, {}};
  const auto differences = differencesBetween(before, after);
  ASSERT_EQ(differences.size(), 1U);
  EXPECT_THAT(differences[0].properties,
              ElementsAre(PropertyChange{"Name #2", "M", "O"}, PropertyChange{"Name #3", std::nullopt, "M"}));
}

}  // namespace
}  // namespace vellora::command
