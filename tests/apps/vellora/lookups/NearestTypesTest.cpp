#include "apps/vellora/lookups/NearestTypes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/SilentLogger.h"
#include "vellora/DataServices/SObjectsCache.h"

namespace vellora::command {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using Why = Missing::Why;

const std::vector<SObject> someTypes{{"Account", "001", "Company", "Companies", true},
                                     {"Contact", "003", "Person", "People", true},
                                     {"OpportunityLineItem", "00k", "Product", "Products", false}};

TEST(NearestTypesTest, ATypeIsMeantByItsNameLabelOrPluralInAnyCase) {
  EXPECT_EQ(nearestType("account", someTypes), "Account");
  EXPECT_EQ(nearestType("people", someTypes), "Contact");
  EXPECT_EQ(nearestType("PRODUCT", someTypes), "OpportunityLineItem");
}

TEST(NearestTypesTest, ElseByTheNearestName) {
  EXPECT_EQ(nearestType("Acount", someTypes), "Account");
  EXPECT_EQ(nearestType("opportunity", someTypes), "OpportunityLineItem");
  EXPECT_EQ(nearestType("Nonsense", someTypes), std::nullopt);
  EXPECT_EQ(nearestType("", someTypes), std::nullopt);
}

TEST(NearestTypesTest, OnlyWhatIsUnknownIsLookedForInTheCachedList) {
  const auto cache = std::make_shared<hostkit::MemoryCache>();
  SObjectsCache(cache, std::make_shared<testkit::SilentLogger>(), 60).save(someTypes);
  const auto nearest = nearestTypes({{"account", Missing(Why::unknown)},
                                     {"Contct", Missing(Why::notCached)},
                                     {"contact", Missing(Why::failed)},
                                     {"nonsense", Missing(Why::unknown)}},
                                    *cache);
  EXPECT_THAT(nearest, ElementsAre(Pair("Contct", "Contact"), Pair("account", "Account")));
}

TEST(NearestTypesTest, NothingElseIsMeantByANameThatTheListHas) {
  const auto cache = std::make_shared<hostkit::MemoryCache>();
  SObjectsCache(cache, std::make_shared<testkit::SilentLogger>(), 60).save(someTypes);
  EXPECT_THAT(nearestTypes({{"Account", Missing(Why::notCached)}}, *cache), IsEmpty());
}

TEST(NearestTypesTest, WithoutACachedListNothingIsNear) {
  hostkit::MemoryCache cache;
  EXPECT_THAT(nearestTypes({{"account", Missing(Why::unknown)}}, cache), IsEmpty());
}

}  // namespace
}  // namespace vellora::command
