#include "vellora/DataServices/ReferenceTypeFields.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vellora {
namespace {

using testing::ElementsAre;

/// Layouts with reference fields of every kind; the compound field's part points to User too.
CompactLayoutResults results() {
  const auto make = [](CompactLayoutField::Content content) {
    return std::make_shared<CompactLayoutField>(std::move(content));
  };
  const auto reference = [&](const std::string& apiName, std::optional<std::string> relationship) {
    return make({.apiName = apiName,
                 .fieldType = "reference",
                 .label = "l",
                 .referenceTo = "User",
                 .relationshipName = std::move(relationship)});
  };
  return {{{{reference("OwnerId", "Owner"), reference("CreatorId", std::nullopt),
             make({.apiName = "Text",
                   .fieldType = "string",
                   .label = "l",
                   .referenceTo = "Other",
                   .relationshipName = "R"}),
             make({.apiName = "Free", .fieldType = "reference", .label = "l", .relationshipName = "Free"}),
             make({.apiName = "Upper", .fieldType = "Reference", .label = "l", .referenceTo = "Upper"}),
             make({.apiName = "Compound",
                   .fieldType = "address",
                   .label = "l",
                   .layoutFields = CompactLayoutFields{reference("PartId", "Part")}})},
            "Account"},
           {{make({.apiName = "AccountId",
                   .fieldType = "reference",
                   .label = "l",
                   .referenceTo = "Account",
                   .relationshipName = "Account"}),
             reference("OwnerId", "Owner")},
            "Contact"}}};
}

std::vector<std::string> apiNames(const CompactLayoutResults& results) {
  std::vector<std::string> names;
  for (const auto& layout : results.layouts) {
    for (const auto& field : layout.layoutFields) names.push_back(field->apiName);
  }
  return names;
}

TEST(ReferenceTypeFieldsTest, ListsTheTypesThatReferenceFieldsPointToRepeatedOnesToo) {
  EXPECT_EQ(referenceTypeFields(results()), "'User','User','Account','User'");
}

TEST(ReferenceTypeFieldsTest, IsTwoQuotesWithoutAny) {
  EXPECT_EQ(referenceTypeFields({}), "''");
  EXPECT_EQ(referenceTypeFields({{{{}, "Account"}}}), "''");
}

TEST(UpdateReferenceTypeFieldsTest, RewritesFieldsWithARelationshipOfWhateverTypeAndNoParts) {
  const auto rewritten = results();
  updateReferenceTypeFields({{"User", "Name"}, {"Other", "Title"}, {"Unused", "X"}}, rewritten);
  EXPECT_THAT(apiNames(rewritten), ElementsAre("Owner.Name", "CreatorId", "R.Title", "Free", "Upper",
                                               "Compound", "AccountId", "Owner.Name"));
  EXPECT_EQ(rewritten.layouts.at(0).layoutFields.at(5)->layoutFields->at(0)->apiName, "PartId");
}

TEST(UpdateReferenceTypeFieldsTest, ComparesTypesLetterForLetter) {
  const auto rewritten = results();
  updateReferenceTypeFields({{"user", "Name"}, {"Use", "Name"}, {"", "Name"}}, rewritten);
  EXPECT_EQ(apiNames(rewritten), apiNames(results()));
}

TEST(UpdateReferenceTypeFieldsTest, RewritesForEverybodyWhoSharesTheFields) {
  const auto rewritten = results();
  const auto copy = rewritten;
  updateReferenceTypeFields({{"Account", "Name"}}, rewritten);
  EXPECT_EQ(copy.layouts.at(1).layoutFields.at(0)->apiName, "Account.Name");
}

TEST(UpdateReferenceTypeFieldsTest, PassesOverFieldsThatAreNotThere) {
  const CompactLayoutResults results{{{{nullptr}, "Account"}}};
  EXPECT_EQ(referenceTypeFields(results), "''");
  updateReferenceTypeFields({{"Account", "Name"}}, results);
  EXPECT_EQ(results.layouts.at(0).layoutFields.at(0), nullptr);
}

TEST(ReferenceTypeFieldsTest, ACopyWithFieldsOfItsOwnIsEqualAndCanBeRewrittenByItself) {
  const auto original = results();
  const auto copy = withOwnFields(original);
  EXPECT_EQ(copy, original);
  updateReferenceTypeFields({{"User", "Name"}}, copy);
  EXPECT_EQ(copy.layouts.at(0).layoutFields.at(0)->apiName, "Owner.Name");
  EXPECT_EQ(original, results());
}

}  // namespace
}  // namespace vellora
