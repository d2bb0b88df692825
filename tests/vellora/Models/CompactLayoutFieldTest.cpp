#include "vellora/Models/CompactLayoutField.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>

#include "tests/support/DecodingFailure.h"
#include "tests/support/PrintRecords.h"
#include "vellora/Platform/Json/EncodingError.h"

namespace vellora {
namespace {

using Content = CompactLayoutField::Content;

std::shared_ptr<CompactLayoutField> make(Content content) {
  return std::make_shared<CompactLayoutField>(std::move(content));
}

Content plain() {
  return {.apiName = "Name", .fieldType = "string", .label = "Full Name"};
}

Content complete() {
  return {.apiName = "OwnerId",
          .fieldType = "reference",
          .label = "Owner",
          .referenceTo = "User",
          .relationshipName = "Owner",
          .htmlFormatted = true,
          .layoutFields = CompactLayoutFields{make(plain())}};
}

TEST(CompactLayoutFieldTest, WritesAllMembersWhenAllArePresent) {
  EXPECT_EQ(json::encode(make(complete())).value().view(),
            R"({"apiName":"OwnerId","fieldType":"reference","label":"Owner","referenceTo":"User",)"
            R"("relationshipName":"Owner","htmlFormatted":true,"layoutFields":[)"
            R"({"apiName":"Name","fieldType":"string","label":"Full Name","htmlFormatted":false}]})");
}

TEST(CompactLayoutFieldTest, LeavesAbsentMembersOut) {
  EXPECT_EQ(json::encode(make(plain())).value().view(),
            R"({"apiName":"Name","fieldType":"string","label":"Full Name","htmlFormatted":false})");
}

TEST(CompactLayoutFieldTest, AnEmptyListOfPartsIsNotAnAbsentOne) {
  auto content = plain();
  content.layoutFields.emplace();
  const auto field = make(content);
  const auto text = json::encode(field).value();
  EXPECT_EQ(
      text.view(),
      R"({"apiName":"Name","fieldType":"string","label":"Full Name","htmlFormatted":false,"layoutFields":[]})");
  EXPECT_EQ(*json::decode<std::shared_ptr<CompactLayoutField>>(text).value(), *field);
  EXPECT_FALSE(*field == *make(plain()));
}

TEST(CompactLayoutFieldTest, ReadsBackEqual) {
  const auto field = make(complete());
  const auto again = json::decode<std::shared_ptr<CompactLayoutField>>(json::encode(field).value());
  ASSERT_TRUE(again);
  EXPECT_EQ(*again.value(), *field);
}

TEST(CompactLayoutFieldTest, TheThreeOptionalMembersMayBeAbsentOrNull) {
  for (const std::string members :
       {"", R"(,"referenceTo":null,"relationshipName":null,"layoutFields":null)"}) {
    const auto field = json::decode<std::shared_ptr<CompactLayoutField>>(
        Data(R"({"apiName":"Name","fieldType":"string","label":"Full Name","htmlFormatted":false)" + members +
             "}"));
    ASSERT_TRUE(field);
    EXPECT_EQ(*field.value(), *make(plain()));
  }
}

TEST(CompactLayoutFieldTest, TheOtherFourAreRequired) {
  EXPECT_EQ(tests::failureOf<std::shared_ptr<CompactLayoutField>>(
                R"({"fieldType":"f","label":"l","htmlFormatted":false})"),
            R"(missing key "apiName" at $)");
  EXPECT_EQ(tests::failureOf<std::shared_ptr<CompactLayoutField>>(
                R"({"apiName":"a","label":"l","htmlFormatted":false})"),
            R"(missing key "fieldType" at $)");
  EXPECT_EQ(tests::failureOf<std::shared_ptr<CompactLayoutField>>(
                R"({"apiName":"a","fieldType":"f","htmlFormatted":false})"),
            R"(missing key "label" at $)");
  EXPECT_EQ(
      tests::failureOf<std::shared_ptr<CompactLayoutField>>(R"({"apiName":"a","fieldType":"f","label":"l"})"),
      R"(missing key "htmlFormatted" at $)");
  EXPECT_EQ(tests::failureOf<std::shared_ptr<CompactLayoutField>>(
                R"({"apiName":"a","fieldType":"f","label":"l","htmlFormatted":null})"),
            "expected a boolean at $.htmlFormatted");
}

TEST(CompactLayoutFieldTest, AnOptionalMemberOfAnotherTypeFails) {
  const std::string required = R"({"apiName":"a","fieldType":"f","label":"l","htmlFormatted":false,)";
  EXPECT_EQ(tests::failureOf<std::shared_ptr<CompactLayoutField>>(required + R"("referenceTo":["User"]})"),
            "expected a string at $.referenceTo");
  EXPECT_EQ(tests::failureOf<std::shared_ptr<CompactLayoutField>>(required + R"("relationshipName":1})"),
            "expected a string at $.relationshipName");
  EXPECT_EQ(tests::failureOf<std::shared_ptr<CompactLayoutField>>(required + R"("layoutFields":[{}]})"),
            R"(missing key "apiName" at $.layoutFields[0])");
}

TEST(CompactLayoutFieldTest, HoldersOfAFieldShareItsApiName) {
  const CompactLayoutFields fields{make(plain())};
  const CompactLayoutFields copy = fields;
  fields.front()->apiName = "Owner.Name";
  EXPECT_EQ(copy.front()->apiName, "Owner.Name");
}

TEST(CompactLayoutFieldTest, OnlyTheApiNameCanBeRewrittenAndNoFieldIsCopied) {
  EXPECT_FALSE(std::is_const_v<decltype(CompactLayoutField::apiName)>);
  EXPECT_TRUE(std::is_const_v<decltype(CompactLayoutField::fieldType)>);
  EXPECT_TRUE(std::is_const_v<decltype(CompactLayoutField::label)>);
  EXPECT_TRUE(std::is_const_v<decltype(CompactLayoutField::referenceTo)>);
  EXPECT_TRUE(std::is_const_v<decltype(CompactLayoutField::relationshipName)>);
  EXPECT_TRUE(std::is_const_v<decltype(CompactLayoutField::htmlFormatted)>);
  EXPECT_TRUE(std::is_const_v<decltype(CompactLayoutField::layoutFields)>);
  EXPECT_FALSE(std::is_copy_constructible_v<CompactLayoutField>);
}

TEST(CompactLayoutFieldTest, ComparesContentsOfEveryMemberAndOfTheParts) {
  EXPECT_EQ(*make(complete()), *make(complete()));
  const auto differsBy = [](auto change) {
    auto content = complete();
    change(content);
    return !(*make(content) == *make(complete()));
  };
  EXPECT_TRUE(differsBy([](Content& content) { content.apiName = "x"; }));
  EXPECT_TRUE(differsBy([](Content& content) { content.fieldType = "x"; }));
  EXPECT_TRUE(differsBy([](Content& content) { content.label = "x"; }));
  EXPECT_TRUE(differsBy([](Content& content) { content.referenceTo.reset(); }));
  EXPECT_TRUE(differsBy([](Content& content) { content.relationshipName = "x"; }));
  EXPECT_TRUE(differsBy([](Content& content) { content.htmlFormatted = false; }));
  EXPECT_TRUE(differsBy([](Content& content) { content.layoutFields.reset(); }));
  EXPECT_TRUE(differsBy([](Content& content) { content.layoutFields->push_back(make(plain())); }));
  EXPECT_TRUE(differsBy([](Content& content) { content.layoutFields->front() = make(complete()); }));
}

TEST(CompactLayoutFieldTest, ANullPointerInAListEqualsOnlyANullPointer) {
  EXPECT_TRUE(haveEqualContents({nullptr}, {nullptr}));
  EXPECT_FALSE(haveEqualContents({nullptr}, {make(plain())}));
  EXPECT_FALSE(haveEqualContents({make(plain())}, {nullptr}));
}

TEST(CompactLayoutFieldTest, ANullPointerHasNoJsonForm) {
  const auto encoded = json::encode(std::shared_ptr<CompactLayoutField>());
  ASSERT_FALSE(encoded);
  EXPECT_EQ(encoded.error().as<EncodingError>()->kind(), EncodingError::Kind::noValue);
}

TEST(CompactLayoutFieldTest, ItsTextualFormNamesTheFieldsInTheirOrder) {
  EXPECT_EQ(
      describe(*make(complete())),
      "CompactLayoutField(apiName: \"OwnerId\", fieldType: \"reference\", label: \"Owner\", referenceTo: "
      "Optional(\"User\"), relationshipName: Optional(\"Owner\"), htmlFormatted: true, layoutFields: "
      "Optional([CompactLayoutField(apiName: \"Name\", fieldType: \"string\", label: \"Full Name\", "
      "referenceTo: nil, relationshipName: nil, htmlFormatted: false, layoutFields: nil)]))");
}

}  // namespace
}  // namespace vellora
