#include "vellora/Models/LayoutComponent.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/DecodingFailure.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora {
namespace {

TEST(LayoutComponentTest, DecodesComponentsWithinComponents) {
  const auto component = json::decode<LayoutComponent>(Data(std::string(
      R"({"type":"Field","value":"Name","details":{"referenceTo":[],"type":"string","label":"Full Name",)"
      R"("htmlFormatted":false},"components":[{"value":", "},{"value":"x","components":[]}]})")));
  ASSERT_TRUE(component);
  EXPECT_EQ(component.value(),
            (LayoutComponent{
                "Name",
                LayoutComponentDetails{std::nullopt, {}, "string", "Full Name", false},
                std::vector{LayoutComponent{", ", std::nullopt, std::nullopt},
                            LayoutComponent{"x", std::nullopt, std::vector<LayoutComponent>()}},
            }));
}

TEST(LayoutComponentTest, OnlyTheValueIsRequired) {
  EXPECT_EQ(tests::failureOf<LayoutComponent>(R"({"value":""})"), "decoded");
  EXPECT_EQ(tests::failureOf<LayoutComponent>(R"({"value":"v","details":null,"components":null})"),
            "decoded");
  EXPECT_EQ(tests::failureOf<LayoutComponent>(R"({"details":null})"), R"(missing key "value" at $)");
}

TEST(LayoutComponentTest, DetailsAndComponentsOfAnotherFormFail) {
  EXPECT_EQ(tests::failureOf<LayoutComponent>(R"({"value":"v","details":{}})"),
            R"(missing key "referenceTo" at $.details)");
  EXPECT_EQ(
      tests::failureOf<LayoutComponent>(R"({"value":"v","components":[{"value":"w","components":[{}]}]})"),
      R"(missing key "value" at $.components[0].components[0])");
}

}  // namespace
}  // namespace vellora
