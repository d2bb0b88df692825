#include "vellora/DataServices/UrlLength.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "vellora/DataServices/Joined.h"

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Names = std::vector<std::string>;

/// As long as "q=" and the names with commas between.
std::size_t length(const Names& names) {
  return 2 + joined(names, ",").size();
}

TEST(UrlLengthTest, WhatFitsStaysTogether) {
  EXPECT_THAT(dividedByUrl(Names{"aaa", "bb"}, length, 8), ElementsAre(Names{"aaa", "bb"}));
  EXPECT_THAT(dividedByUrl(Names{}, length, 8), IsEmpty());
}

TEST(UrlLengthTest, WhatDoesNotFitGoesOnInTheNextList) {
  EXPECT_THAT(dividedByUrl(Names{"aaa", "bb", "c", "dddddd"}, length, 8),
              ElementsAre(Names{"aaa", "bb"}, Names{"c"}, Names{"dddddd"}));
  for (const auto& list : dividedByUrl(Names(100, "ab"), length, 20)) EXPECT_LE(length(list), 20U);
}

TEST(UrlLengthTest, ANameThatIsTooLongIsAlone) {
  EXPECT_THAT(dividedByUrl(Names{"a", "bbbbbbbbb", "c"}, length, 8),
              ElementsAre(Names{"a"}, Names{"bbbbbbbbb"}, Names{"c"}));
}

}  // namespace
}  // namespace vellora
