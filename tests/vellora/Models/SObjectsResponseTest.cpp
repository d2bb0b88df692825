#include "vellora/Models/SObjectsResponse.h"

#include <gtest/gtest.h>

#include "tests/support/DecodingFailure.h"

namespace vellora {
namespace {

TEST(SObjectsResponseTest, ReadsTheListInTheServersOrder) {
  const auto decoded = json::decode<SObjectsResponse>(
      Data(R"({"encoding":"UTF-8","maxBatchSize":200,"sobjects":[)"
           R"({"name":"B","label":"b","labelPlural":"bs","createable":true},)"
           R"({"name":"A","label":"a","labelPlural":"as","createable":false}]})"));
  ASSERT_TRUE(decoded);
  EXPECT_EQ(
      decoded.value(),
      (SObjectsResponse{{{"B", std::nullopt, "b", "bs", true}, {"A", std::nullopt, "a", "as", false}}}));
}

TEST(SObjectsResponseTest, MayBeEmptyButNotWithoutItsList) {
  const auto decoded = json::decode<SObjectsResponse>(Data(R"({"sobjects":[]})"));
  ASSERT_TRUE(decoded);
  EXPECT_TRUE(decoded.value().sObjects.empty());
  EXPECT_EQ(tests::failureOf<SObjectsResponse>("{}"), "missing key \"sobjects\" at $");
  EXPECT_EQ(tests::failureOf<SObjectsResponse>(R"({"sobjects":null})"), "expected an array at $.sobjects");
}

TEST(SObjectsResponseTest, ComparesItsKeyLetterForLetter) {
  EXPECT_EQ(tests::failureOf<SObjectsResponse>(R"({"sObjects":[]})"), "missing key \"sobjects\" at $");
}

TEST(SObjectsResponseTest, FailsAsAWholeForOneBadEntry) {
  EXPECT_EQ(tests::failureOf<SObjectsResponse>(
                R"({"sobjects":[{"name":"A","label":"a","labelPlural":"as","createable":true},)"
                R"({"name":"B","label":"b","createable":true}]})"),
            "missing key \"labelPlural\" at $.sobjects[1]");
  EXPECT_EQ(tests::failureOf<SObjectsResponse>(
                R"({"sobjects":[{"name":"A","label":"a","labelPlural":"as","createable":"true"}]})"),
            "expected a boolean at $.sobjects[0].createable");
}

TEST(SObjectsResponseTest, IgnoresNumbersOfAnySizeUnderKeysThatItDoesNotKnow) {
  for (const std::string number :
       {"18446744073709551616", "1e400", "-1e400", "123456789012345678901234567890"}) {
    const auto decoded = json::decode<SObjectsResponse>(
        Data(R"({"sobjects":[{"name":"A","label":"a","x":[)" + number +
             R"(],"labelPlural":"as","createable":true}],"x":)" + number + "}"));
    ASSERT_TRUE(decoded) << number;
    EXPECT_EQ(decoded.value(), (SObjectsResponse{{{"A", std::nullopt, "a", "as", true}}})) << number;
  }
}

TEST(SObjectsResponseTest, WritesItsListUnderTheServersKey) {
  const auto encoded = json::encode(SObjectsResponse{{{"A", "001", "a", "as", true}}});
  ASSERT_TRUE(encoded);
  EXPECT_EQ(
      encoded.value().view(),
      R"({"sobjects":[{"name":"A","keyPrefix":"001","label":"a","labelPlural":"as","createable":true}]})");
}

}  // namespace
}  // namespace vellora
