#include "apps/vellora/command/AgeText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>

namespace vellora::command {
namespace {

TEST(AgeWordsTest, AnAgeIsToldInItsLargestWholeUnit) {
  EXPECT_EQ(ageWords(0.4), "less than a second old");
  EXPECT_EQ(ageWords(1), "1 second old");
  EXPECT_EQ(ageWords(59.9), "59 seconds old");
  EXPECT_EQ(ageWords(60), "1 minute old");
  EXPECT_EQ(ageWords(7199), "1 hour old");
  EXPECT_EQ(ageWords(3 * 86400 + 5), "3 days old");
}

TEST(AgeWordsTest, WhatIsNoAgeIsUnknown) {
  for (const std::optional<double> none :
       {std::optional<double>(), std::optional(-1.0), std::optional<double>(NAN),
        std::optional(std::numeric_limits<double>::infinity())})
    EXPECT_EQ(ageWords(none), "of unknown age");
}

}  // namespace
}  // namespace vellora::command
