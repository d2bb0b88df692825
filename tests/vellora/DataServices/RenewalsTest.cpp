#include "vellora/DataServices/Renewals.h"

#include <gtest/gtest.h>

namespace vellora {
namespace {

TEST(RenewalsTest, WhatIsFetchedLaterHasAnotherKey) {
  Renewals renewals;
  const auto first = renewals.current();
  const auto second = renewals.begin();
  EXPECT_EQ(second, renewals.current());
  EXPECT_NE(Renewals::key("theme", first), Renewals::key("theme", second));
}

TEST(RenewalsTest, AnOlderFetchIsNotKeptOnceANewerOneIs) {
  Renewals renewals;
  const auto first = renewals.begin();
  EXPECT_TRUE(renewals.isNewest(first));
  const auto second = renewals.begin();
  EXPECT_TRUE(renewals.isNewest(first)) << "nothing newer has come yet";
  EXPECT_TRUE(renewals.isNewest(second));
  EXPECT_FALSE(renewals.isNewest(first));
  EXPECT_TRUE(renewals.isNewest(second));
}

}  // namespace
}  // namespace vellora
