#include "vellora/Catalog/AnswerChange.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "tests/support/TestError.h"

namespace vellora {
namespace {

/// An account as an app shows it, with or without a colour of its own.
ObjectPresentationInfo shown(const std::string& label, const std::optional<std::string>& color) {
  ObjectPresentationInfo info;
  info.typePresentationInfo.label = label;
  info.typePresentationInfo.color = color;
  return info;
}

ObjectCompactLayoutInfo headed(const std::string& label, const std::string& apiName) {
  ObjectCompactLayoutInfo layout;
  layout.objectType = "Account";
  layout.layoutFields.push_back(std::make_shared<CompactLayoutField>(CompactLayoutField::Content{
      .apiName = apiName, .fieldType = "reference", .label = label, .relationshipName = "Owner"}));
  return layout;
}

template <class T>
Answer<T> answer(T value, const std::optional<std::string>& trouble = std::nullopt) {
  Answer<T> made;
  made.found.emplace("Account", std::move(value));
  if (trouble) made.trouble = Failure(tests::TestError{*trouble});
  return made;
}

TEST(AnswerChangeTest, AColourThatCouldNotBeFoundOutIsNoChange) {
  const auto before = answer(shown("Account", "FF0000"));
  EXPECT_FALSE(isChanged(before, answer(shown("Account", std::nullopt), "down")));
  EXPECT_TRUE(isChanged(before, answer(shown("Account", std::nullopt))));
  EXPECT_TRUE(isChanged(before, answer(shown("Account", "00FF00"), "down")));
  EXPECT_TRUE(isChanged(before, answer(shown("Firm", std::nullopt), "down")));
}

TEST(AnswerChangeTest, IconsThatCouldNotBeFoundOutAreNoChange) {
  auto before = shown("Account", "FF0000");
  before.typePresentationInfo.svgIconUrl = "/a.svg";
  before.typePresentationInfo.smallIconUrl = "/a_16.png";
  before.typePresentationInfo.largeIconUrl = "/a_32.png";
  EXPECT_FALSE(isChanged(answer(before), answer(shown("Account", std::nullopt), "down")));
  EXPECT_FALSE(isChanged(answer(before), answer(before, "down")));
}

TEST(AnswerChangeTest, OneIconIsALookOfItsOwn) {
  const auto before = answer(shown("Account", "FF0000"));
  for (const auto icon :
       {&PresentationInfo::svgIconUrl, &PresentationInfo::smallIconUrl, &PresentationInfo::largeIconUrl}) {
    auto now = shown("Account", std::nullopt);
    now.typePresentationInfo.*icon = "/a";
    EXPECT_TRUE(isChanged(before, answer(now, "down")));
  }
}

TEST(AnswerChangeTest, AListedTypeWithoutItsColoursIsNoChange) {
  auto before = shown("List", "FF0000");
  before.instancePresentationInfo = shown("Contact", "0000FF").typePresentationInfo;
  EXPECT_FALSE(isChanged(answer(before), answer(shown("List", std::nullopt), "down")));
  EXPECT_TRUE(isChanged(answer(before), answer(shown("List", "FF0000"))));
  auto now = before;
  now.instancePresentationInfo->color = "00FF00";
  EXPECT_TRUE(isChanged(answer(before), answer(now, "down")));
}

TEST(AnswerChangeTest, ANameFieldThatCouldNotBeFoundOutIsNoChange) {
  const auto before = answer(headed("Owner", "Owner.Name"));
  EXPECT_FALSE(isChanged(before, answer(headed("Owner", "OwnerId"), "down")));
  EXPECT_TRUE(isChanged(before, answer(headed("Owner", "OwnerId"))));
  EXPECT_TRUE(isChanged(before, answer(headed("Keeper", "OwnerId"), "down")));
  EXPECT_TRUE(isChanged(before, answer(headed("Owner", "Owner.Title"), "down")));
}

TEST(AnswerChangeTest, WhatCouldBeFoundOutAtLastIsAChange) {
  EXPECT_TRUE(isChanged(answer(shown("Account", std::nullopt), "down"), answer(shown("Account", "FF0000"))));
  EXPECT_TRUE(isChanged(answer(headed("Owner", "OwnerId"), "down"), answer(headed("Owner", "Owner.Name"))));
}

TEST(AnswerChangeTest, AFieldOfAnotherNameIsAChangeWhateverTheTrouble) {
  EXPECT_TRUE(isChanged(answer(headed("Owner", "OwnerId")), answer(headed("Owner", "KeeperId"), "down")));
}

TEST(AnswerChangeTest, LayoutsOfAnotherTypeAreAChangeWhateverTheTrouble) {
  auto now = headed("Owner", "OwnerId");
  now.objectType = "Firm";
  EXPECT_TRUE(isChanged(answer(headed("Owner", "OwnerId")), answer(now, "down")));
}

TEST(AnswerChangeTest, AFieldThatIsMissingIsOnlyLikeOneThatIsMissing) {
  const auto whole = headed("Owner", "OwnerId");
  auto holed = whole;
  holed.layoutFields.front() = nullptr;
  EXPECT_FALSE(isChanged(answer(holed), answer(holed, "down")));
  EXPECT_TRUE(isChanged(answer(holed), answer(whole, "down")));
  EXPECT_TRUE(isChanged(answer(whole), answer(holed, "down")));
}

TEST(AnswerChangeTest, AFieldMoreIsAChangeWhateverTheTrouble) {
  auto now = headed("Owner", "Owner.Name");
  now.layoutFields.push_back(nullptr);
  EXPECT_TRUE(isChanged(answer(headed("Owner", "Owner.Name")), answer(now, "down")));
}

}  // namespace
}  // namespace vellora
