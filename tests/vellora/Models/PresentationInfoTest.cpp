#include "vellora/Models/PresentationInfo.h"

#include <gtest/gtest.h>

#include <functional>
#include <tuple>
#include <type_traits>

#include "tests/support/DecodingFailure.h"
#include "tests/support/PrintRecords.h"
#include "vellora/Platform/Json/Description.h"

namespace vellora {
namespace {

const SObject account{"Account", "001", "Firm", "Firms", true};
const ThemeItem accountTheme{
    "Company",
    std::vector<ColorInfo>{{"AAAAAA", "primary", "light"}, {"BBBBBB", "primary", "dark"}},
    {{"image/svg+xml", "light", "/light.svg", std::nullopt},
     {"image/png", "light", "/light-16.png", 16},
     {"image/png", "light", "/light-64.png", 64},
     {"image/png", "dark", "/dark-16.png", 16}}};

Result<PresentationInfo> decoded(std::string text) {
  return json::decode<PresentationInfo>(Data(std::move(text)));
}

std::string encoded(const PresentationInfo& info) {
  return std::string(json::encode(info).value().view());
}

TEST(PresentationInfoTest, TakesNameAndLabelsFromTheTypeAndTheRestFromItsTheme) {
  const PresentationInfo info(accountTheme, account, "light");
  EXPECT_EQ(info.apiName(), "Account");
  EXPECT_EQ(info.color, "AAAAAA");
  EXPECT_EQ(info.svgIconUrl, "/light.svg");
  EXPECT_EQ(info.smallIconUrl, "/light-16.png");
  EXPECT_EQ(info.largeIconUrl, "/light-64.png");
  EXPECT_EQ(info.label, "Firm");
  EXPECT_EQ(info.labelPlural, "Firms");
  EXPECT_TRUE(info.createable);
}

TEST(PresentationInfoTest, ChoosesForTheGivenTheme) {
  const PresentationInfo info(accountTheme, account, "dark");
  EXPECT_EQ(info.color, "BBBBBB");
  EXPECT_EQ(info.svgIconUrl, std::nullopt);
  EXPECT_EQ(info.smallIconUrl, "/dark-16.png");
  EXPECT_EQ(info.largeIconUrl, "/dark-16.png");
}

TEST(PresentationInfoTest, HasNoColorAndNoIconsWithoutAThemeEntry) {
  const PresentationInfo info(std::nullopt, account, "light");
  EXPECT_EQ(encoded(info), R"({"apiName":"Account","label":"Firm","labelPlural":"Firms","createable":true})");
}

TEST(PresentationInfoTest, GetsItsNameWhenItIsMadeAndCanStillBeAssigned) {
  static_assert(std::is_same_v<decltype(std::declval<PresentationInfo&>().apiName()), const std::string&>);
  static_assert(std::is_copy_assignable_v<PresentationInfo>);
  PresentationInfo info(std::nullopt, account, "light");
  info.label = "Our firm";
  const auto copy = info;
  info =
      PresentationInfo(std::nullopt, SObject{"Contact", std::nullopt, "Person", "Persons", false}, "light");
  EXPECT_EQ(info.apiName(), "Contact");
  EXPECT_EQ(copy.apiName(), "Account");
  EXPECT_EQ(copy.label, "Our firm");
  EXPECT_FALSE(info == copy);
}

template <class T>
concept ShowsHowItIsDecoded = requires {
  T::decodedFields();
};

TEST(PresentationInfoTest, ItsTableOfFieldsShowsTheNameByItsGetter) {
  constexpr auto name = std::get<0>(PresentationInfo::fields());
  static_assert(
      std::is_same_v<decltype(name.member), const std::string& (PresentationInfo::*)() const noexcept>);
  static_assert(!ShowsHowItIsDecoded<PresentationInfo>);
  EXPECT_EQ(name.key, "apiName");
  EXPECT_EQ(std::invoke(name.member, PresentationInfo(std::nullopt, account, "light")), "Account");
}

TEST(PresentationInfoTest, NamesOfDifferentTypesMakeDifferentValues) {
  auto other = account;
  other.name = "Contact";
  EXPECT_FALSE(PresentationInfo(std::nullopt, account, "") == PresentationInfo(std::nullopt, other, ""));
  EXPECT_EQ(PresentationInfo(accountTheme, account, "light"),
            PresentationInfo(accountTheme, account, "light"));
}

TEST(PresentationInfoTest, ReadsARecordOfNothingButTheTwoRequiredKeys) {
  const auto info = decoded(R"({"apiName":"Account","createable":false,"color2":1})");
  ASSERT_TRUE(info);
  EXPECT_EQ(info.value().apiName(), "Account");
  EXPECT_EQ(info.value().color, std::nullopt);
  EXPECT_EQ(info.value().svgIconUrl, std::nullopt);
  EXPECT_EQ(info.value().smallIconUrl, std::nullopt);
  EXPECT_EQ(info.value().largeIconUrl, std::nullopt);
  EXPECT_EQ(info.value().label, std::nullopt);
  EXPECT_EQ(info.value().labelPlural, std::nullopt);
  EXPECT_FALSE(info.value().createable);
}

TEST(PresentationInfoTest, NeedsTheTwoRequiredKeys) {
  EXPECT_EQ(tests::failureOf<PresentationInfo>(R"({"apiName":"Account"})"),
            "missing key \"createable\" at $");
  EXPECT_EQ(tests::failureOf<PresentationInfo>(R"({"createable":true})"), "missing key \"apiName\" at $");
  EXPECT_EQ(tests::failureOf<PresentationInfo>(R"({"apiName":null,"createable":true})"),
            "expected a string at $.apiName");
  EXPECT_EQ(tests::failureOf<PresentationInfo>(R"({"apiName":"Account","createable":"true"})"),
            "expected a boolean at $.createable");
  EXPECT_EQ(tests::failureOf<PresentationInfo>(R"({"apiName":"Account","createable":true,"color":1})"),
            "expected a string at $.color");
}

TEST(PresentationInfoTest, ANullForAnOptionalKeyIsAbsent) {
  const auto info = decoded(R"({"apiName":"A","createable":true,"color":null,"label":null})");
  ASSERT_TRUE(info);
  EXPECT_EQ(encoded(info.value()), R"({"apiName":"A","createable":true})");
}

TEST(PresentationInfoTest, WritesWhatItHasUnderItsKeysAndReadsItBack) {
  const PresentationInfo info(accountTheme, account, "light");
  const auto text = encoded(info);
  EXPECT_EQ(
      text,
      R"({"apiName":"Account","color":"AAAAAA","svgIconUrl":"/light.svg","smallIconUrl":"/light-16.png",)"
      R"("largeIconUrl":"/light-64.png","label":"Firm","labelPlural":"Firms","createable":true})");
  const auto back = decoded(text);
  ASSERT_TRUE(back);
  EXPECT_EQ(back.value(), info);
}

TEST(PresentationInfoTest, ShowsItsNameAmongItsFields) {
  EXPECT_EQ(
      describe(PresentationInfo(std::nullopt, account, "light")),
      R"(PresentationInfo(apiName: "Account", color: nil, svgIconUrl: nil, smallIconUrl: nil, largeIconUrl: nil, )"
      R"(label: Optional("Firm"), labelPlural: Optional("Firms"), createable: true))");
}

}  // namespace
}  // namespace vellora
