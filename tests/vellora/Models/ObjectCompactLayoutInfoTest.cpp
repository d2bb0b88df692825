#include "vellora/Models/ObjectCompactLayoutInfo.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/DecodingFailure.h"
#include "tests/support/PrintRecords.h"

namespace vellora {
namespace {

using Content = CompactLayoutField::Content;

Result<ObjectCompactLayoutInfo> decoded(const std::string& text) {
  return json::decode<ObjectCompactLayoutInfo>(Data(text));
}

std::shared_ptr<CompactLayoutField> make(Content content) {
  return std::make_shared<CompactLayoutField>(std::move(content));
}

ObjectCompactLayoutInfo layoutOf(std::vector<Content> contents) {
  ObjectCompactLayoutInfo layout{{}, "Account"};
  for (auto& content : contents) layout.layoutFields.push_back(make(std::move(content)));
  return layout;
}

/// The server's description of a field called `label`.
std::string details(const std::string& label,
                    const std::string& rest = R"("type":"string","referenceTo":[])") {
  return R"("details":{"label":")" + label + R"(","htmlFormatted":false,)" + rest + "}";
}

/// The server's form of a layout of Account with one line called "Line".
std::string withComponents(const std::string& components) {
  return R"({"objectType":"Account","name":"Headline","fieldItems":[{"label":"Line","layoutComponents":[)" +
         components + "]}]}";
}

Content text(const std::string& apiName, const std::string& label) {
  return {.apiName = apiName, .fieldType = "string", .label = label};
}

const std::string accountOfTheCache =
    R"({"objectType":"Account","layoutFields":[)"
    R"({"apiName":"Name","fieldType":"string","label":"Line","htmlFormatted":false}]})";

TEST(ObjectCompactLayoutInfoTest, AFieldOfALineTakesTheLinesLabel) {
  const auto layout = decoded(withComponents(R"({"value":"Name",)" + details("Full Name") + "}"));
  ASSERT_TRUE(layout);
  EXPECT_EQ(layout.value(), layoutOf({text("Name", "Line")}));
}

TEST(ObjectCompactLayoutInfoTest, SeveralFieldsOfALineAllTakeItsLabelAndTheirOrder) {
  const auto layout =
      decoded(withComponents(R"({"value":"Status",)" + details("Status") + R"(},{"value":" / "},)" +
                             R"({"value":"Age",)" + details("Age in Days") + "}"));
  ASSERT_TRUE(layout);
  EXPECT_EQ(layout.value(), layoutOf({text("Status", "Line"), text("Age", "Line")}));
}

TEST(ObjectCompactLayoutInfoTest, TheFieldsOfAllLinesFollowOneAnother) {
  const auto layout = decoded(R"({"objectType":"Account","fieldItems":[)"
                              R"({"label":"One","layoutComponents":[{"value":"A",)" +
                              details("a") + R"(}]},{"label":"None","layoutComponents":[]},)" +
                              R"({"label":"Two","layoutComponents":[{"value":"B",)" + details("b") + "}]}]}");
  ASSERT_TRUE(layout);
  EXPECT_EQ(layout.value(), layoutOf({text("A", "One"), text("B", "Two")}));
}

TEST(ObjectCompactLayoutInfoTest, ACompoundFieldHoldsItsPartsUnderTheirOwnLabels) {
  const auto layout = decoded(withComponents(
      R"({"value":"Name",)" + details("Full Name") + R"(,"components":[{"value":"FirstName",)" +
      details("First Name") + R"(},{"value":" "},{"value":"LastName",)" + details("Last Name") +
      R"(,"components":[{"value":"Suffix",)" + details("Suffix") + "}]}]}"));
  ASSERT_TRUE(layout);
  auto lastName = text("LastName", "Last Name");
  lastName.layoutFields = CompactLayoutFields{make(text("Suffix", "Suffix"))};
  auto name = text("Name", "Line");
  name.layoutFields = CompactLayoutFields{make(text("FirstName", "First Name")), make(lastName)};
  EXPECT_EQ(layout.value(), layoutOf({name}));
}

TEST(ObjectCompactLayoutInfoTest, AFieldWithoutPartsHasNoListAndOneWhosePartsAreNoFieldsAnEmptyOne) {
  const auto fieldWith = [](const std::string& components) {
    return decoded(withComponents(R"({"value":"Name",)" + details("Full Name") + components + "}"))
        .value()
        .layoutFields.at(0)
        ->layoutFields;
  };
  EXPECT_FALSE(fieldWith("").has_value());
  EXPECT_FALSE(fieldWith(R"(,"components":null)").has_value());
  ASSERT_TRUE(fieldWith(R"(,"components":[])").has_value());
  EXPECT_TRUE(fieldWith(R"(,"components":[])")->empty());
  EXPECT_TRUE(fieldWith(R"(,"components":[{"value":" "}])")->empty());
}

TEST(ObjectCompactLayoutInfoTest, AComponentWithoutDetailsIsDroppedWithAllThatItContains) {
  const auto layout = decoded(withComponents(
      R"({"value":"Group","components":[{"value":"Name",)" + details("Full Name") +
      R"(}]},{"value":"Other","details":null,"components":[{"value":"X",)" + details("x") + "}]}"));
  ASSERT_TRUE(layout);
  EXPECT_EQ(layout.value(), layoutOf({}));
}

TEST(ObjectCompactLayoutInfoTest, OfTheTypesThatAFieldPointsToTheFirstIsKept) {
  const auto targetOf = [](const std::string& referenceTo) {
    return decoded(withComponents(
                       R"({"value":"OwnerId",)" +
                       details("Owner ID", R"("type":"reference","relationshipName":"Owner","referenceTo":)" +
                                               referenceTo) +
                       "}"))
        .value()
        .layoutFields.at(0)
        ->referenceTo;
  };
  EXPECT_EQ(targetOf("[]"), std::nullopt);
  EXPECT_EQ(targetOf(R"(["User"])"), "User");
  EXPECT_EQ(targetOf(R"(["Team","User"])"), "Team");
}

TEST(ObjectCompactLayoutInfoTest, AFieldHasTheMembersThatTheServerGivesIt) {
  const auto layout = decoded(
      R"({"objectType":"Account","fieldItems":[{"label":"Owner","layoutComponents":[{"value":"OwnerId","details":{)"
      R"("relationshipName":"Owner","referenceTo":["User"],"type":"reference","label":"Owner ID",)"
      R"("htmlFormatted":true}}]}]})");
  ASSERT_TRUE(layout);
  EXPECT_EQ(layout.value(), layoutOf({{.apiName = "OwnerId",
                                       .fieldType = "reference",
                                       .label = "Owner",
                                       .referenceTo = "User",
                                       .relationshipName = "Owner",
                                       .htmlFormatted = true}}));
}

TEST(ObjectCompactLayoutInfoTest, ReadsTheFlatFormWhenItHasBoth) {
  const auto layout =
      decoded(R"({"objectType":"Account","fieldItems":"not even a list","layoutFields":[)"
              R"({"apiName":"Name","fieldType":"string","label":"Line","htmlFormatted":false}]})");
  ASSERT_TRUE(layout);
  EXPECT_EQ(layout.value(), layoutOf({text("Name", "Line")}));
}

TEST(ObjectCompactLayoutInfoTest, AnEmptyFlatFormIsALayoutWithoutFields) {
  const auto layout = decoded(R"({"objectType":"Account","layoutFields":[],"fieldItems":[{}]})");
  ASSERT_TRUE(layout);
  EXPECT_EQ(layout.value(), layoutOf({}));
}

TEST(ObjectCompactLayoutInfoTest, FallsBackToTheServersFormWhateverIsWrongWithTheFlatOne) {
  const std::string items =
      R"("fieldItems":[{"label":"Line","layoutComponents":[{"value":"Name",)" + details("n") + "}]}]";
  for (const std::string flat : {"null", "7", "{}", R"("x")", "[null]", "[{}]",
                                 R"([{"apiName":"A","fieldType":"f","label":"l","htmlFormatted":0}])",
                                 R"([{"apiName":"A","fieldType":"f","label":"l","htmlFormatted":true},5])"}) {
    const auto layout = decoded(R"({"objectType":"Account","layoutFields":)" + flat + "," + items + "}");
    ASSERT_TRUE(layout) << flat;
    EXPECT_EQ(layout.value(), layoutOf({text("Name", "Line")})) << flat;
  }
}

TEST(ObjectCompactLayoutInfoTest, WithoutEitherFormTheErrorNamesTheServersForm) {
  EXPECT_EQ(tests::failureOf<ObjectCompactLayoutInfo>(R"({"objectType":"Account"})"),
            R"(missing key "fieldItems" at $)");
  EXPECT_EQ(tests::failureOf<ObjectCompactLayoutInfo>(R"({"objectType":"Account","layoutFields":[{}]})"),
            R"(missing key "fieldItems" at $)");
  EXPECT_EQ(tests::failureOf<ObjectCompactLayoutInfo>(
                R"({"objectType":"Account","layoutFields":7,"fieldItems":null})"),
            "expected an array at $.fieldItems");
  EXPECT_EQ(
      tests::failureOf<ObjectCompactLayoutInfo>(R"({"objectType":"Account","fieldItems":[{"label":"x"}]})"),
      R"(missing key "layoutComponents" at $.fieldItems[0])");
}

TEST(ObjectCompactLayoutInfoTest, TheObjectTypeIsRequiredAndReadFirst) {
  EXPECT_EQ(tests::failureOf<ObjectCompactLayoutInfo>(R"({"layoutFields":[]})"),
            R"(missing key "objectType" at $)");
  EXPECT_EQ(tests::failureOf<ObjectCompactLayoutInfo>("{}"), R"(missing key "objectType" at $)");
  EXPECT_EQ(tests::failureOf<ObjectCompactLayoutInfo>(R"({"objectType":null,"layoutFields":[]})"),
            "expected a string at $.objectType");
  EXPECT_EQ(tests::failureOf<ObjectCompactLayoutInfo>("[]"), "expected an object at $");
}

TEST(ObjectCompactLayoutInfoTest, WritesTheFlatFormAlone) {
  EXPECT_EQ(json::encode(layoutOf({text("Name", "Line")})).value().view(), accountOfTheCache);
  EXPECT_EQ(json::encode(layoutOf({})).value().view(), R"({"objectType":"Account","layoutFields":[]})");
}

TEST(ObjectCompactLayoutInfoTest, WhatTheServerSentReadsBackEqualOnceItIsWritten) {
  const auto layout = decoded(withComponents(
      R"({"value":"Name",)" + details("Full Name") + R"(,"components":[{"value":"FirstName",)" +
      details("First Name") + R"(}]},{"value":"OwnerId",)" +
      details("o", R"("type":"reference","relationshipName":"Owner","referenceTo":["User"])") + "}"));
  ASSERT_TRUE(layout);
  const auto again = json::decode<ObjectCompactLayoutInfo>(json::encode(layout.value()).value());
  ASSERT_TRUE(again);
  EXPECT_EQ(again.value(), layout.value());
}

TEST(ObjectCompactLayoutInfoTest, CopiesShareTheirFields) {
  const auto layout = layoutOf({text("Name", "Line")});
  const auto copy = layout;
  layout.layoutFields.front()->apiName = "Other";
  EXPECT_EQ(copy.layoutFields.front()->apiName, "Other");
  EXPECT_EQ(copy, layout);
}

TEST(ObjectCompactLayoutInfoTest, ItsTextualFormNamesTheFieldsInTheirOrder) {
  EXPECT_EQ(describe(layoutOf({})), R"(ObjectCompactLayoutInfo(layoutFields: [], objectType: "Account"))");
}

TEST(ObjectCompactLayoutInfoTest, TheAnswerOfALookupIsWrittenAsOneDocument) {
  using Answer = std::optional<std::map<std::string, ObjectCompactLayoutInfo>>;
  EXPECT_EQ(json::encode(Answer({{"Account", layoutOf({text("Name", "Line")})}})).value().view(),
            R"({"Account":)" + accountOfTheCache + "}");
  EXPECT_EQ(json::encode(Answer(std::in_place)).value().view(), "{}");
  EXPECT_EQ(json::encode(Answer()).value().view(), "null");
}

/// A layout with `depth` fields, each the only part of the one before.
std::string nested(int depth) {
  std::string text = R"({"value":"F",)" + details("f") + "}";
  for (int level = 1; level < depth; ++level)
    text = R"({"value":"F",)" + details("f") + R"(,"components":[)" + text + "]}";
  return withComponents(text);
}

TEST(ObjectCompactLayoutInfoTest, TheDeepestNestingThatCanBeReadIsFlattenedComparedAndWritten) {
  // Component n begins at level 2n + 3, and has details with a list in them. Level 513 is one too deep.
  constexpr int deepest = 253;
  const auto layout = decoded(nested(deepest));
  ASSERT_TRUE(layout);
  EXPECT_EQ(layout.value(), decoded(nested(deepest)).value());
  EXPECT_FALSE(layout.value() == decoded(nested(deepest - 1)).value());
  int levels = 0;
  for (auto field = layout.value().layoutFields.at(0); field;
       field = field->layoutFields ? field->layoutFields->at(0) : nullptr) {
    ++levels;
  }
  EXPECT_EQ(levels, deepest);
  const auto again = json::decode<ObjectCompactLayoutInfo>(json::encode(layout.value()).value());
  ASSERT_TRUE(again);
  EXPECT_EQ(again.value(), layout.value());
  EXPECT_FALSE(decoded(nested(deepest + 1)));
}

TEST(ObjectCompactLayoutInfoTest, ATypeThatIsNotUtf8HasNoJsonForm) {
  EXPECT_FALSE(json::encode(ObjectCompactLayoutInfo{{}, "\xFF"}));
}

TEST(ObjectCompactLayoutInfoTest, WhatIsNestedTooDeepToBeReadIsNotWrittenEither) {
  auto innermost = make(text("F", "f"));
  for (int level = 0; level < 1000; ++level) {
    auto around = text("F", "f");
    around.layoutFields = CompactLayoutFields{innermost};
    innermost = make(around);
  }
  EXPECT_FALSE(json::encode(ObjectCompactLayoutInfo{{innermost}, "Account"}));
}

}  // namespace
}  // namespace vellora
