#include "vellora/Models/FieldItem.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/DecodingFailure.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora {
namespace {

TEST(FieldItemTest, DecodesTheServersForm) {
  const auto item = json::decode<FieldItem>(
      Data(std::string(R"({"editable":false,"label":"Name","layoutComponents":[{"value":"Name"}]})")));
  ASSERT_TRUE(item);
  EXPECT_EQ(item.value(), (FieldItem{"Name", {{"Name", std::nullopt, std::nullopt}}}));
}

TEST(FieldItemTest, LabelAndComponentsAreRequired) {
  EXPECT_EQ(tests::failureOf<FieldItem>(R"({"label":"Name","layoutComponents":[]})"), "decoded");
  EXPECT_EQ(tests::failureOf<FieldItem>(R"({"layoutComponents":[]})"), R"(missing key "label" at $)");
  EXPECT_EQ(tests::failureOf<FieldItem>(R"({"label":"Name"})"), R"(missing key "layoutComponents" at $)");
  EXPECT_EQ(tests::failureOf<FieldItem>(R"({"label":"Name","layoutComponents":null})"),
            "expected an array at $.layoutComponents");
}

}  // namespace
}  // namespace vellora
