#include "vellora/Catalog/RefreshLookup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tests/vellora/Catalog/CatalogFixture.h"

namespace vellora {
namespace {

using testing::IsEmpty;
using testkit::StubNetwork;
using Changes = std::map<std::string, TypeChange>;

using RefreshLookupTest = tests::CatalogFixture;

TEST_F(RefreshLookupTest, EndsWithWhatHasChanged) {
  constructAndLoad();
  network->answer(
      typesUrl,
      StubNetwork::body(
          R"({"sobjects":[)"
          R"({"name":"Account","keyPrefix":"001","label":"Account","labelPlural":"Accounts","createable":true},)"
          R"({"name":"Contact","keyPrefix":"003","label":"Person","labelPlural":"Persons","createable":false},)"
          R"({"name":"Order","keyPrefix":"801","label":"Order","labelPlural":"Orders","createable":false}]})"));
  const auto answer = answered(catalog->refresh());
  EXPECT_EQ(answer.end, End::answered);
  EXPECT_EQ(answer.found, (Changes{{"Contact", TypeChange::changed},
                                   {"ListView", TypeChange::removed},
                                   {"Order", TypeChange::added}}));
  EXPECT_EQ(answer.ageOf("Order"), (Age{clock.date(), false}));
  EXPECT_EQ(answered(catalog->types({"Contact"})).found.at("Contact").typePresentationInfo.label, "Person");
}

TEST_F(RefreshLookupTest, AThemeEntryThatDiffersIsAChangeOfItsType) {
  constructAndLoad();
  network->answer(themesUrl, StubNetwork::body(R"({"themeItems":[]})"));
  EXPECT_EQ(answered(catalog->refresh()).found,
            (Changes{{"Account", TypeChange::changed}, {"Contact", TypeChange::changed}}));
}

TEST_F(RefreshLookupTest, NothingHasChangedWhereTheServerSaysTheSame) {
  constructAndLoad();
  EXPECT_THAT(answered(catalog->refresh()).found, IsEmpty());
  EXPECT_EQ(network->count(typesUrl), 2U);
  EXPECT_EQ(network->count(themesUrl), 2U);
}

TEST_F(RefreshLookupTest, LayoutsAndListViewsAreFetchedOnNextUse) {
  const std::string columnsUrl = "/services/data/v50.0/search/layout?q=Account";
  network->answer(columnsUrl, StubNetwork::body(R"([{"objectType":"Account","searchColumns":[]}])"));
  constructAndLoad();
  static_cast<void>(answered(catalog->searchColumns({"Account"})));
  static_cast<void>(answered(catalog->records({"00Bxx"})));
  clock.advance(1);
  static_cast<void>(answered(catalog->refresh()));
  EXPECT_EQ(network->count(columnsUrl), 1U);
  for (int i = 0; i < 2; ++i) {
    static_cast<void>(answered(catalog->searchColumns({"Account"})));
    static_cast<void>(answered(catalog->records({"00Bxx"})));
  }
  EXPECT_EQ(network->count(columnsUrl), 2U);
  EXPECT_EQ(network->count(listViewUrl("00Bxx")), 2U);
}

TEST_F(RefreshLookupTest, FailsWithTheReasonWhenAListCannotBeFetched) {
  constructAndLoad();
  network->answer(themesUrl, down());
  const auto answer = answered(catalog->refresh());
  EXPECT_EQ(answer.end, End::failed);
  EXPECT_EQ(answer.trouble->text(), std::string("down (") + themesUrl + ")");
  EXPECT_EQ(catalog->readiness().readinessCase(), Readiness::Case::failed);
}

TEST_F(RefreshLookupTest, ListViewsStayWhenAListCannotBeFetched) {
  constructAndLoad();
  static_cast<void>(answered(catalog->records({"00Bxx"})));
  network->answer(listViewUrl("00Bxx"), down());
  for (const auto* failing : {typesUrl, themesUrl}) {
    network->answer(typesUrl, StubNetwork::body(typesBody()));
    network->answer(themesUrl, StubNetwork::body(themesBody()));
    network->answer(failing, down());
    EXPECT_EQ(answered(catalog->refresh()).end, End::failed);
    EXPECT_EQ(answered(catalog->records({"00Bxx"})).found.size(), 1U) << failing;
  }
}

TEST_F(RefreshLookupTest, FindsWhatIsThereWhenItIsAskedThoughALoadIsUnderWay) {
  network->answer(typesUrl, StubNetwork::body(typesBody()).held());
  network->answer(themesUrl, StubNetwork::body(themesBody()).held());
  constructAndLoad();
  const auto newer = std::string(
      R"({"sobjects":[{"name":"Order","keyPrefix":"801","label":"Order","labelPlural":"Orders","createable":false}]})");
  network->answer(typesUrl, StubNetwork::body(newer));
  network->answer(themesUrl, StubNetwork::body(R"({"themeItems":[]})"));
  EXPECT_EQ(answered(catalog->refresh()).found, (Changes{{"Order", TypeChange::added}}));
  network->releaseAll();
  runAll();
  EXPECT_EQ(keysOf(answered(catalog->allTypes()).found), std::vector<std::string>{"Order"})
      << "the older list comes too late";
}

TEST_F(RefreshLookupTest, WhatAListViewWasAskedBeforeItCountsNoMore) {
  constructAndLoad();
  const auto listedBy = [](const Answer<ObjectPresentationInfo>& answer) {
    return answer.found.at("00Bxx").instancePresentationInfo->apiName();
  };
  network->answer(listViewUrl("00Bxx"), listViewAnswer("Contact").held());
  const auto before = ask(catalog->records({"00Bxx"}));
  runAll();
  static_cast<void>(answered(catalog->refresh()));
  network->answer(listViewUrl("00Bxx"), listViewAnswer("Account"));
  EXPECT_EQ(listedBy(answered(catalog->records({"00Bxx"}))), "Account");
  network->releaseAll();
  runAll();
  EXPECT_EQ(listedBy(before->answer), "Contact");
  EXPECT_EQ(listedBy(answered(catalog->records({"00Bxx"}))), "Account") << "the older answer comes too late";
  EXPECT_EQ(network->count(listViewUrl("00Bxx")), 2U);
}

TEST_F(RefreshLookupTest, LayoutsOfATypeThatIsGoneAreDeleted) {
  network->answer("/services/data/v50.0/search/layout?q=Account",
                  StubNetwork::body(R"([{"objectType":"Account","searchColumns":[]}])"));
  network->answer("/services/data/v53.0/compactLayouts?q=Account",
                  StubNetwork::body(R"({"Account":{"objectType":"Account","fieldItems":[]}})"));
  network->answerPrefix("/services/data/v53.0/query", StubNetwork::body(R"({"records":[]})"));
  constructAndLoad();
  static_cast<void>(answered(catalog->searchColumns({"Account"})));
  static_cast<void>(answered(catalog->headlines({"Account"})));
  static_cast<void>(answered(catalog->refresh()));
  EXPECT_TRUE(cache->load("OPS_Layout_Account")) << "it is still there";
  EXPECT_TRUE(cache->load("OPS_CompactLayout_Account"));
  network->answer(typesUrl, StubNetwork::body(R"({"sobjects":[]})"));
  static_cast<void>(answered(catalog->refresh()));
  EXPECT_FALSE(cache->load("OPS_Layout_Account"));
  EXPECT_FALSE(cache->load("OPS_CompactLayout_Account"));
}

}  // namespace
}  // namespace vellora
