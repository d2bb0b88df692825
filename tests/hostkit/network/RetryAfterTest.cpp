#include "hostkit/network/RetryAfter.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>

namespace vellora::hostkit {
namespace {

using namespace std::chrono_literals;

const Date present = Date::since1970(784'111'777);  // Sun, 06 Nov 1994 08:49:37 GMT

TEST(RetryAfterTest, TakesSeconds) {
  EXPECT_EQ(retryAfter("120", present), 120s);
  EXPECT_EQ(retryAfter("0", present), 0s);
  EXPECT_GT(retryAfter("99999999999999999999", present), std::chrono::hours(1'000'000));
}

TEST(RetryAfterTest, TakesDatesInTheThreeFormsOfHttp) {
  EXPECT_EQ(retryAfter("Sun, 06 Nov 1994 08:50:07 GMT", present), 30s);
  EXPECT_EQ(retryAfter("Sunday, 06-Nov-94 08:50:07 GMT", present), 30s);
  EXPECT_EQ(retryAfter("Sun Nov  6 08:50:07 1994", present), 30s);
}

TEST(RetryAfterTest, ADateThatIsPastAsksForNoWait) {
  EXPECT_EQ(retryAfter("Sun, 06 Nov 1994 08:49:07 GMT", present), 0s);
  EXPECT_EQ(retryAfter("Thu, 01 Jan 1970 00:00:00 GMT", present), 0s);
}

TEST(RetryAfterTest, WhatIsNeitherSaysNothing) {
  for (const auto* text : {"", "soon", "-1", "1.5", "12 s", "1, 2"}) {
    EXPECT_FALSE(retryAfter(text, present)) << text;
  }
}

}  // namespace
}  // namespace vellora::hostkit
