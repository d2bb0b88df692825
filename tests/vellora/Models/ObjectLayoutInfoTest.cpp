#include "vellora/Models/ObjectLayoutInfo.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/DecodingFailure.h"

namespace vellora {
namespace {

Result<ObjectLayoutInfo> decoded(const std::string& text) {
  return json::decode<ObjectLayoutInfo>(Data(text));
}

TEST(ObjectLayoutInfoTest, DecodesTheServersForm) {
  const auto layout =
      decoded(R"({"limitRows":25,"objectType":"Account","searchColumns":[)"
              R"({"field":"Account.Name","format":null,"label":"Account Name","name":"Name"},)"
              R"json({"field":"toLabel(Type)","format":"string","label":"Type","name":"Type"}]})json");
  ASSERT_TRUE(layout);
  EXPECT_EQ(layout.value(), (ObjectLayoutInfo{"Account",
                                              {{"Name", "Account Name", std::nullopt, "Account.Name"},
                                               {"Type", "Type", "string", "toLabel(Type)"}}}));
}

TEST(ObjectLayoutInfoTest, AnEmptyListOfColumnsIsALayoutWithoutColumns) {
  const auto layout = decoded(R"({"objectType":"Account","searchColumns":[]})");
  ASSERT_TRUE(layout);
  EXPECT_TRUE(layout.value().searchColumns.empty());
}

TEST(ObjectLayoutInfoTest, AColumnWithoutFormatOrWithANullOneHasNoneAndWritesNone) {
  for (const std::string format : {"", R"("format":null,)"}) {
    const auto layout = decoded(R"({"objectType":"A","searchColumns":[{)" + format +
                                R"("name":"N","label":"L","field":"F"}]})");
    ASSERT_TRUE(layout);
    EXPECT_EQ(layout.value().searchColumns.at(0).format, std::nullopt);
    EXPECT_EQ(json::encode(layout.value()).value().view(),
              R"({"objectType":"A","searchColumns":[{"name":"N","label":"L","field":"F"}]})");
  }
}

TEST(ObjectLayoutInfoTest, AFormatIsWrittenWhenThereIsOne) {
  const ObjectLayoutInfo layout{"A", {{"N", "L", "date", "F"}}};
  EXPECT_EQ(json::encode(layout).value().view(),
            R"({"objectType":"A","searchColumns":[{"name":"N","label":"L","format":"date","field":"F"}]})");
}

TEST(ObjectLayoutInfoTest, AColumnNeedsItsLabelNameAndField) {
  EXPECT_EQ(
      tests::failureOf<ObjectLayoutInfo>(R"({"objectType":"A","searchColumns":[{"name":"N","field":"F"}]})"),
      R"(missing key "label" at $.searchColumns[0])");
  EXPECT_EQ(tests::failureOf<ObjectLayoutInfo>(
                R"({"objectType":"A","searchColumns":[{"name":"N","label":null,"field":"F"}]})"),
            "expected a string at $.searchColumns[0].label");
  EXPECT_EQ(
      tests::failureOf<ObjectLayoutInfo>(R"({"objectType":"A","searchColumns":[{"label":"L","field":"F"}]})"),
      R"(missing key "name" at $.searchColumns[0])");
  EXPECT_EQ(
      tests::failureOf<ObjectLayoutInfo>(R"({"objectType":"A","searchColumns":[{"name":"N","label":"L"}]})"),
      R"(missing key "field" at $.searchColumns[0])");
}

TEST(ObjectLayoutInfoTest, ALayoutNeedsItsTypeAndItsColumns) {
  EXPECT_EQ(tests::failureOf<ObjectLayoutInfo>(R"({"objectType":"A"})"),
            R"(missing key "searchColumns" at $)");
  EXPECT_EQ(tests::failureOf<ObjectLayoutInfo>(R"({"searchColumns":[]})"),
            R"(missing key "objectType" at $)");
  EXPECT_EQ(tests::failureOf<ObjectLayoutInfo>(R"({"objectType":7,"searchColumns":[]})"),
            "expected a string at $.objectType");
}

TEST(ObjectLayoutInfoTest, OneBadElementFailsTheWholeAnswer) {
  const auto answer = json::decode<std::vector<ObjectLayoutInfo>>(
      Data(std::string(R"([{"objectType":"A","searchColumns":[]},{"objectType":"B"}])")));
  ASSERT_FALSE(answer);
  EXPECT_EQ(answer.error().localizedDescription(), R"(missing key "searchColumns" at $[1])");
}

}  // namespace
}  // namespace vellora
