#include "apps/vellora/changes/Snapshot.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "vellora/Models/CompactLayoutField.h"

namespace vellora::command {
namespace {

using testing::ElementsAre;
using testing::Pair;

TEST(SnapshotTest, ATypeHasWhatIsShownOfIt) {
  ObjectPresentationInfo info;
  info.typePresentationInfo.label = "Account";
  info.typePresentationInfo.color = "2F6FDE";
  info.typePresentationInfo.createable = true;
  EXPECT_THAT(propertiesOf(info, ""),
              ElementsAre(Pair("label", "Account"), Pair("colour", "2F6FDE"), Pair("createable", "yes")));
}

TEST(SnapshotTest, IconsOfTheServerItselfAreThoseOfAnyOther) {
  ObjectPresentationInfo info;
  info.typePresentationInfo.svgIconUrl = "http://one.example/icons/a.svg";
  info.typePresentationInfo.smallIconUrl = "https://icons.example/a.png";
  EXPECT_THAT(propertiesOf(info, "http://one.example"),
              ElementsAre(Pair("createable", "no"), Pair("vector icon", "/icons/a.svg"),
                          Pair("small icon", "https://icons.example/a.png")));
}

TEST(SnapshotTest, ASearchLayoutHasItsColumns) {
  const ObjectLayoutInfo layout{
      "Account", {{"Name", "Account Name", std::nullopt, "Name"}, {"Tel", "Phone", "phone", "Phone"}}};
  EXPECT_THAT(propertiesOf(layout),
              ElementsAre(Pair("Name", "Account Name, Name"), Pair("Phone", "Phone, Tel, format phone")));
}

TEST(SnapshotTest, ACompactLayoutHasItsFieldsAndTheirParts) {
  const auto part = std::make_shared<CompactLayoutField>(
      CompactLayoutField::Content{.apiName = "City", .fieldType = "string", .label = "City"});
  const auto address = std::make_shared<CompactLayoutField>(
      CompactLayoutField::Content{.apiName = "Address",
                                  .fieldType = "address",
                                  .label = "Address",
                                  .layoutFields = CompactLayoutFields{part}});
  const auto owner =
      std::make_shared<CompactLayoutField>(CompactLayoutField::Content{.apiName = "Owner.Name",
                                                                       .fieldType = "reference",
                                                                       .label = "Owner",
                                                                       .referenceTo = "User",
                                                                       .relationshipName = "Owner",
                                                                       .htmlFormatted = true});
  EXPECT_THAT(propertiesOf(ObjectCompactLayoutInfo{{address, owner}, "Account"}),
              ElementsAre(Pair("Address", "Address, address"), Pair("Address/City", "City, string"),
                          Pair("Owner.Name", "Owner, reference, refers to User, by Owner, HTML")));
}

}  // namespace
}  // namespace vellora::command
