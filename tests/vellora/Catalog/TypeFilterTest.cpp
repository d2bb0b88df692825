#include "vellora/Catalog/TypeFilter.h"

#include <gtest/gtest.h>

namespace vellora {
namespace {

bool admits(std::string_view text) {
  const SObject type{"PersonAccount__c", "0pa", "Patient", "Kranke", false};
  return TypeFilter(text).admits(type);
}

TEST(TypeFilterTest, FindsWordsInLabelPluralAndNameInEitherCase) {
  EXPECT_TRUE(admits("pati"));
  EXPECT_TRUE(admits("KRANKE"));
  EXPECT_TRUE(admits("account__"));
  EXPECT_FALSE(admits("order"));
}

TEST(TypeFilterTest, EachWordMustStandSomewhereInAnyOrder) {
  EXPECT_TRUE(admits("  person   tient "));
  EXPECT_FALSE(admits("person order"));
}

TEST(TypeFilterTest, NoWordAdmitsAll) {
  EXPECT_TRUE(admits(""));
  EXPECT_TRUE(admits(" \t"));
}

TEST(TypeFilterTest, NoWordReachesFromOneTextIntoTheNext) {
  EXPECT_FALSE(admits("patientkranke"));
}

}  // namespace
}  // namespace vellora
