#include "vellora/Models/ObjectQualifiedApiNameInfo.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "tests/support/DecodingFailure.h"
#include "tests/support/PrintRecords.h"

namespace vellora {
namespace {

using Names = std::map<std::string, std::string>;

Result<ObjectQualifiedApiNameInfo> decoded(const std::string& text) {
  return json::decode<ObjectQualifiedApiNameInfo>(Data(text));
}

std::string row(const std::string& type, const std::string& field) {
  return R"({"EntityDefinition":{"QualifiedApiName":")" + type + R"("},"QualifiedApiName":")" + field +
         R"("})";
}

TEST(ObjectQualifiedApiNameInfoTest, GathersTheNameFieldsOfTheRows) {
  const auto info = decoded(R"({"complete":true,"count":2,"records":[)" + row("Account", "Name") + "," +
                            row("Case", "CaseNumber") + "]}");
  ASSERT_TRUE(info);
  EXPECT_EQ(info.value().entityApiNames, (Names{{"Account", "Name"}, {"Case", "CaseNumber"}}));
  EXPECT_EQ(info.value().records, (std::vector<ObjectQualifiedApiNameInfo::Record>{
                                      {{"Account"}, "Name"}, {{"Case"}, "CaseNumber"}}));
}

TEST(ObjectQualifiedApiNameInfoTest, IgnoresTheOtherMembersOfARow) {
  const auto info = decoded(
      R"({"records":[{"about":{"type":"FieldDefinition"},"IsNameField":true,"QualifiedApiName":"Name",)"
      R"("EntityDefinition":{"about":7,"QualifiedApiName":"User"}}]})");
  ASSERT_TRUE(info);
  EXPECT_EQ(info.value().entityApiNames, (Names{{"User", "Name"}}));
}

TEST(ObjectQualifiedApiNameInfoTest, AnAnswerWithoutRowsHasNoNames) {
  const auto info = decoded(R"({"records":[]})");
  ASSERT_TRUE(info);
  EXPECT_TRUE(info.value().entityApiNames.empty());
}

TEST(ObjectQualifiedApiNameInfoTest, OfSeveralRowsForOneTypeTheLastCounts) {
  const auto info = decoded(R"({"records":[)" + row("User", "Name") + "," + row("User", "Alias") + "]}");
  ASSERT_TRUE(info);
  EXPECT_EQ(info.value().entityApiNames, (Names{{"User", "Alias"}}));
  EXPECT_EQ(info.value().records.size(), 2U);
}

TEST(ObjectQualifiedApiNameInfoTest, OneBadRowFailsTheWholeAnswer) {
  EXPECT_EQ(tests::failureOf<ObjectQualifiedApiNameInfo>(R"({"records":[)" + row("User", "Name") +
                                                         R"(,{"QualifiedApiName":"Name"}]})"),
            R"(missing key "EntityDefinition" at $.records[1])");
  EXPECT_EQ(tests::failureOf<ObjectQualifiedApiNameInfo>(
                R"({"records":[{"EntityDefinition":{},"QualifiedApiName":"Name"}]})"),
            R"(missing key "QualifiedApiName" at $.records[0].EntityDefinition)");
  EXPECT_EQ(tests::failureOf<ObjectQualifiedApiNameInfo>(
                R"({"records":[{"EntityDefinition":{"QualifiedApiName":"User"}}]})"),
            R"(missing key "QualifiedApiName" at $.records[0])");
  EXPECT_EQ(tests::failureOf<ObjectQualifiedApiNameInfo>(
                R"({"records":[{"EntityDefinition":null,"QualifiedApiName":"Name"}]})"),
            "expected an object at $.records[0].EntityDefinition");
}

TEST(ObjectQualifiedApiNameInfoTest, TheRowsAreRequired) {
  EXPECT_EQ(tests::failureOf<ObjectQualifiedApiNameInfo>("{}"), R"(missing key "records" at $)");
  EXPECT_EQ(tests::failureOf<ObjectQualifiedApiNameInfo>(R"([{"code":"BAD_QUERY"}])"),
            "expected an object at $");
}

TEST(ObjectQualifiedApiNameInfoTest, NeverReadsTheNamesFromTheAnswer) {
  const auto info = decoded(R"({"entityApiNames":{"User":"Alias"},"records":[]})");
  ASSERT_TRUE(info);
  EXPECT_TRUE(info.value().entityApiNames.empty());
}

TEST(ObjectQualifiedApiNameInfoTest, WritesTheRowsAloneAndGathersTheNamesAgain) {
  const auto info = decoded(R"({"records":[)" + row("User", "Alias") + "," + row("User", "Name") + "]}");
  ASSERT_TRUE(info);
  const auto text = json::encode(info.value()).value();
  EXPECT_EQ(text.view(), R"({"records":[)" + row("User", "Alias") + "," + row("User", "Name") + "]}");
  EXPECT_EQ(json::decode<ObjectQualifiedApiNameInfo>(text).value(), info.value());
}

TEST(ObjectQualifiedApiNameInfoTest, ItsTextualFormShowsNamesAndRows) {
  EXPECT_EQ(describe(decoded(R"({"records":[)" + row("User", "Name") + "]}").value()),
            R"(ObjectQualifiedApiNameInfo(entityApiNames: ["User": "Name"], records: [Record(entityType: )"
            R"(EntityDefinition(entityTypeName: "User"), qualifiedApiName: "Name")]))");
}

}  // namespace
}  // namespace vellora
