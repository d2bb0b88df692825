#include "vellora/Catalog/AllTypesLookup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/vellora/Catalog/CatalogFixture.h"

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using AllTypesLookupTest = tests::CatalogFixture;

TEST_F(AllTypesLookupTest, ListsAllTypesAsTheyLook) {
  construct();
  const auto answer = answered(catalog->allTypes());
  EXPECT_EQ(answer.end, End::answered);
  EXPECT_THAT(keysOf(answer.found), ElementsAre("Account", "Contact", "ListView"));
  EXPECT_EQ(answer.found.at("Account").typePresentationInfo.color, "FF0000");
  EXPECT_EQ(answer.ageOf("Account"), (Age{clock.date(), false}));
  EXPECT_EQ(network->count(), 2U);
}

TEST_F(AllTypesLookupTest, ListsThoseThatAPersonFinds) {
  constructAndLoad();
  EXPECT_THAT(keysOf(answered(catalog->allTypes("CONT")).found), ElementsAre("Contact"));
  EXPECT_THAT(keysOf(answered(catalog->allTypes("nothing")).found), IsEmpty());
}

TEST_F(AllTypesLookupTest, WritesNoRows) {
  constructAndLoad();
  cache->clearCalls();
  static_cast<void>(answered(catalog->allTypes()));
  for (const auto& call : cache->callTexts()) EXPECT_THAT(call, testing::Not(testing::HasSubstr("Upsert")));
}

TEST_F(AllTypesLookupTest, FailsWithTheReasonWhenThereIsNoList) {
  network->answer(typesUrl, down());
  construct();
  const auto answer = answered(catalog->allTypes());
  EXPECT_EQ(answer.end, End::failed);
  EXPECT_EQ(answer.trouble->text(), std::string("down (") + typesUrl + ")");
}

TEST_F(AllTypesLookupTest, ListsTypesWithoutColoursWhenThereAreNoThemes) {
  network->answer(themesUrl, down());
  construct();
  const auto answer = answered(catalog->allTypes());
  EXPECT_EQ(answer.end, End::answered);
  EXPECT_EQ(answer.found.size(), 3U);
  EXPECT_EQ(answer.trouble->url(), themesUrl);
}

TEST_F(AllTypesLookupTest, ListsOlderTypesWhenTheServerFailsAndSaysSo) {
  constructAndLoad();
  clock.advance(7200);
  network->answer(typesUrl, down());
  const auto answer = answered(catalog->allTypes());
  EXPECT_EQ(answer.end, End::answered);
  EXPECT_EQ(answer.found.size(), 3U);
  ASSERT_TRUE(answer.trouble);
  EXPECT_EQ(answer.trouble->url(), typesUrl);
}

}  // namespace
}  // namespace vellora
