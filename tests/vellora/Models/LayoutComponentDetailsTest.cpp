#include "vellora/Models/LayoutComponentDetails.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/DecodingFailure.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora {
namespace {

TEST(LayoutComponentDetailsTest, DecodesTheServersForm) {
  const auto details = json::decode<LayoutComponentDetails>(Data(
      std::string(R"({"label":"Owner ID","name":"OwnerId","type":"reference","referenceTo":["User","Team"],)"
                  R"("relationshipName":"Owner","htmlFormatted":true})")));
  ASSERT_TRUE(details);
  EXPECT_EQ(details.value(),
            (LayoutComponentDetails{"Owner", {"User", "Team"}, "reference", "Owner ID", true}));
}

TEST(LayoutComponentDetailsTest, OnlyTheRelationshipNameMayBeAbsentOrNull) {
  EXPECT_EQ(tests::failureOf<LayoutComponentDetails>(
                R"({"referenceTo":[],"type":"t","label":"l","htmlFormatted":false})"),
            "decoded");
  EXPECT_EQ(tests::failureOf<LayoutComponentDetails>(
                R"({"relationshipName":null,"referenceTo":[],"type":"t","label":"l","htmlFormatted":false})"),
            "decoded");
  EXPECT_EQ(tests::failureOf<LayoutComponentDetails>(R"({"type":"t","label":"l","htmlFormatted":false})"),
            R"(missing key "referenceTo" at $)");
  EXPECT_EQ(tests::failureOf<LayoutComponentDetails>(
                R"({"referenceTo":null,"type":"t","label":"l","htmlFormatted":false})"),
            "expected an array at $.referenceTo");
  EXPECT_EQ(
      tests::failureOf<LayoutComponentDetails>(R"({"referenceTo":[],"label":"l","htmlFormatted":false})"),
      R"(missing key "type" at $)");
  EXPECT_EQ(
      tests::failureOf<LayoutComponentDetails>(R"({"referenceTo":[],"type":"t","htmlFormatted":false})"),
      R"(missing key "label" at $)");
  EXPECT_EQ(tests::failureOf<LayoutComponentDetails>(R"({"referenceTo":[],"type":"t","label":"l"})"),
            R"(missing key "htmlFormatted" at $)");
}

}  // namespace
}  // namespace vellora
