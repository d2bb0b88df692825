#include "vellora/Catalog/Lists.h"

#include <gtest/gtest.h>

#include <optional>

#include "tests/support/TestError.h"

namespace vellora {
namespace {

const Date earlier = Date::sinceReferenceDate(1);
const Date later = Date::sinceReferenceDate(2);

Age ageOf(const ListState& types, const ListState& themes) {
  return PreparedLists{.types = types, .themes = themes, .typesFailure = {}, .themesFailure = {}}.age();
}

TEST(PreparedListsTest, AreAsOldAsTheOlderList) {
  EXPECT_EQ(ageOf({CacheState::valid, earlier}, {CacheState::valid, later}).fetched, earlier);
  EXPECT_EQ(ageOf({CacheState::valid, later}, {CacheState::valid, earlier}).fetched, earlier);
}

TEST(PreparedListsTest, AreAsOldAsTheOneListWhereTheOtherIsOfNoTime) {
  EXPECT_EQ(ageOf({CacheState::valid, later}, {}).fetched, later);
  EXPECT_EQ(ageOf({}, {CacheState::valid, later}).fetched, later);
  EXPECT_EQ(ageOf({}, {}).fetched, std::nullopt);
}

TEST(PreparedListsTest, AreStaleWhereOneListIsExpired) {
  EXPECT_FALSE(ageOf({CacheState::valid, {}}, {CacheState::valid, {}}).isStale);
  EXPECT_TRUE(ageOf({CacheState::expired, {}}, {CacheState::valid, {}}).isStale);
  EXPECT_TRUE(ageOf({CacheState::valid, {}}, {CacheState::expired, {}}).isStale);
}

TEST(PreparedListsTest, SendNobodyToAServerThatHasJustFailedForWhatAnEmptyCacheLacks) {
  const PreparedLists failed{.types = {CacheState::empty, {}},
                             .themes = {CacheState::expired, later},
                             .typesFailure = Error(tests::TestError{"down"}),
                             .themesFailure = Error(tests::TestError{"down"})};
  EXPECT_EQ(failed.typesSource(Source::serverFirst), Source::cacheOnly);
  EXPECT_EQ(failed.themesSource(Source::serverFirst), Source::serverFirst)
      << "its cache has something to say";
  EXPECT_EQ(PreparedLists{}.typesSource(Source::serverFirst), Source::serverFirst) << "nothing has failed";
}

}  // namespace
}  // namespace vellora
