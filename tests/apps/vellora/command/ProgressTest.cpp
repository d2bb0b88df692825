#include "apps/vellora/command/Progress.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "testkit/ManualTimer.h"

namespace vellora::command {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

class ProgressTest : public testing::Test {
 protected:
  const std::shared_ptr<testkit::ManualTimer> timer = std::make_shared<testkit::ManualTimer>();
  std::string what = "waiting for /a";
  std::vector<std::string> lines;
  std::optional<Progress> progress{std::in_place, timer, [this] { return what; },
                                   [this](std::string_view line) { lines.emplace_back(line); }};
};

TEST_F(ProgressTest, WhatTakesLessThanHalfASecondSaysNothing) {
  timer->advance(499ms);
  progress.reset();
  EXPECT_THAT(lines, IsEmpty());
  EXPECT_EQ(timer->pending(), 0U);
}

TEST_F(ProgressTest, WhatTakesLongerSaysWhatIsWaitedForAndHowLong) {
  timer->advance(500ms);
  EXPECT_THAT(lines, ElementsAre("vellora: waiting for /a"));
  what = "waiting for /b";
  timer->advance(2s);
  EXPECT_THAT(lines, ElementsAre("vellora: waiting for /a", "vellora: waiting for /b, 1 s",
                                 "vellora: waiting for /b, 2 s"));
}

TEST_F(ProgressTest, InTheEndTheLineGoesAwayAndNothingFollows) {
  timer->advance(500ms);
  progress.reset();
  EXPECT_THAT(lines, ElementsAre("vellora: waiting for /a", ""));
  timer->advance(1min);
  EXPECT_EQ(lines.size(), 2U);
}

}  // namespace
}  // namespace vellora::command
