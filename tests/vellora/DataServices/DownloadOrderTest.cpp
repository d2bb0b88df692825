#include "vellora/DataServices/DownloadOrder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DownloadOrderTest : public testing::Test {
 protected:
  const std::shared_ptr<DownloadOrder> order = std::make_shared<DownloadOrder>();
  std::optional<DownloadOrder::Turn> first = std::optional<DownloadOrder::Turn>(std::in_place, order);
  std::optional<DownloadOrder::Turn> second = std::optional<DownloadOrder::Turn>(std::in_place, order);
};

TEST_F(DownloadOrderTest, ThoseThatComeInTheirOrderOvertakeNobody) {
  EXPECT_THAT(first->overtaken({"Account"}), IsEmpty());
  EXPECT_THAT(second->overtaken({"Account"}), IsEmpty());
}

TEST_F(DownloadOrderTest, AnEarlierOneThatComesLateIsTooLateForTheSameTypes) {
  EXPECT_THAT(second->overtaken({"Account", "Contact"}), IsEmpty());
  EXPECT_THAT(first->overtaken({"Account", "Order"}), ElementsAre("Account", "Contact"));
}

TEST_F(DownloadOrderTest, OneThatBringsNothingOvertakesNobody) {
  second.reset();
  EXPECT_THAT(first->overtaken({"Account"}), IsEmpty());
}

TEST_F(DownloadOrderTest, WhatHasEndedIsNoEarlierOne) {
  first.reset();
  EXPECT_THAT(second->overtaken({"Account"}), IsEmpty());
  const DownloadOrder::Turn third(order);
  EXPECT_THAT(third.overtaken({"Account"}), IsEmpty());
}

}  // namespace
}  // namespace vellora
