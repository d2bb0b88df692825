#include "vellora/Models/ObjectPresentationInfo.h"

#include <gtest/gtest.h>

#include "tests/support/DecodingFailure.h"
#include "tests/support/PrintRecords.h"

namespace vellora {
namespace {

const SObject listView{"ListView", "00B", "List", "Lists", false};
const SObject account{"Account", "001", "Firm", "Firms", true};
const ThemeItem listTheme{"ListView", std::vector<ColorInfo>{{"111111", "primary", "light"}}, {}};
const ThemeItem firmTheme{"Account", std::vector<ColorInfo>{{"222222", "primary", "light"}}, {}};

TEST(ObjectPresentationInfoTest, DescribesTypeAndInstanceEachWithItsOwnTheme) {
  const ObjectPresentationInfo info(listTheme, listView, "light", firmTheme, account);
  EXPECT_EQ(info.typePresentationInfo, PresentationInfo(listTheme, listView, "light"));
  EXPECT_EQ(info.instancePresentationInfo, PresentationInfo(firmTheme, account, "light"));
  EXPECT_EQ(info.instancePresentationInfo->color, "222222");
}

TEST(ObjectPresentationInfoTest, DescribesTheTypeAlsoWithoutATheme) {
  const ObjectPresentationInfo info(std::nullopt, listView, "light", firmTheme, account);
  EXPECT_EQ(info.typePresentationInfo.apiName(), "ListView");
  EXPECT_EQ(info.typePresentationInfo.color, std::nullopt);
  EXPECT_TRUE(info.instancePresentationInfo);
}

TEST(ObjectPresentationInfoTest, DescribesNoInstanceWithoutItsThemeThoughItsTypeIsKnown) {
  const ObjectPresentationInfo info(listTheme, listView, "light", std::nullopt, account);
  EXPECT_EQ(info.instancePresentationInfo, std::nullopt);
}

TEST(ObjectPresentationInfoTest, DescribesNoInstanceWithoutItsTypeThoughItsThemeIsKnown) {
  const ObjectPresentationInfo info(listTheme, listView, "light", firmTheme, std::nullopt);
  EXPECT_EQ(info.instancePresentationInfo, std::nullopt);
  EXPECT_EQ(ObjectPresentationInfo(listTheme, listView, "light", std::nullopt, std::nullopt), info);
}

TEST(ObjectPresentationInfoTest, LeavesAnAbsentInstanceOutWhenWritten) {
  const ObjectPresentationInfo info(std::nullopt, listView, "light", std::nullopt, std::nullopt);
  EXPECT_EQ(
      json::encode(info).value().view(),
      R"({"typePresentationInfo":{"apiName":"ListView","label":"List","labelPlural":"Lists","createable":false}})");
}

TEST(ObjectPresentationInfoTest, ReadsBackWhatItWrote) {
  const ObjectPresentationInfo info(listTheme, listView, "light", firmTheme, account);
  const auto encoded = json::encode(info);
  ASSERT_TRUE(encoded);
  EXPECT_EQ(
      encoded.value().view(),
      R"({"typePresentationInfo":{"apiName":"ListView","color":"111111","label":"List","labelPlural":"Lists",)"
      R"("createable":false},"instancePresentationInfo":{"apiName":"Account","color":"222222","label":"Firm",)"
      R"("labelPlural":"Firms","createable":true}})");
  const auto decoded = json::decode<ObjectPresentationInfo>(encoded.value());
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value(), info);
}

TEST(ObjectPresentationInfoTest, NeedsTheTypeAndMayLackTheInstance) {
  EXPECT_EQ(tests::failureOf<ObjectPresentationInfo>("{}"), "missing key \"typePresentationInfo\" at $");
  EXPECT_EQ(tests::failureOf<ObjectPresentationInfo>(R"({"typePresentationInfo":{"apiName":"A"}})"),
            "missing key \"createable\" at $.typePresentationInfo");
  const char* const type =
      R"({"typePresentationInfo":{"apiName":"A","createable":true},"instancePresentationInfo":)";
  const auto null = json::decode<ObjectPresentationInfo>(Data(std::string(type) + "null}"));
  ASSERT_TRUE(null);
  EXPECT_EQ(null.value().instancePresentationInfo, std::nullopt);
  EXPECT_EQ(tests::failureOf<ObjectPresentationInfo>(std::string(type) + "{}}"),
            "missing key \"apiName\" at $.instancePresentationInfo");
}

}  // namespace
}  // namespace vellora
