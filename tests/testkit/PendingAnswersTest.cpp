#include "testkit/PendingAnswers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vellora::testkit {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PendingAnswersTest : public testing::Test {
 protected:
  /// A completion that notes `url` when it is called.
  PendingAnswers::Pending pendingFor(const std::string& url, const StubAnswer& answer) {
    return {url, answer, [this, url](const auto&, const auto&, const auto&) { delivered.push_back(url); }};
  }

  void hold(const std::string& url) {
    EXPECT_THAT(pending.keep(pendingFor(url, StubAnswer::nothing().held())), IsEmpty());
  }

  PendingAnswers pending;
  std::vector<std::string> delivered;
};

TEST_F(PendingAnswersTest, WhatIsNeitherHeldNorHangsComesBack) {
  EXPECT_EQ(PendingAnswers::deliver(pending.keep(pendingFor("/a", StubAnswer::nothing()))), 1U);
  EXPECT_THAT(delivered, ElementsAre("/a"));
  EXPECT_EQ(pending.held(), 0U);
}

TEST_F(PendingAnswersTest, WhatIsHeldIsTakenOldestFirst) {
  for (const auto* url : {"/a", "/b", "/a", "/c"}) hold(url);
  EXPECT_EQ(pending.held(), 4U);
  EXPECT_EQ(PendingAnswers::deliver(pending.takeOldest()), 1U);
  EXPECT_EQ(PendingAnswers::deliver(pending.take("/c")), 1U);
  EXPECT_EQ(PendingAnswers::deliver(pending.takeAll()), 2U);
  EXPECT_THAT(delivered, ElementsAre("/a", "/c", "/b", "/a"));
  EXPECT_THAT(pending.takeOldest(), IsEmpty());
}

TEST_F(PendingAnswersTest, WhatHangsIsNeverTaken) {
  EXPECT_THAT(pending.keep(pendingFor("/a", StubAnswer::never())), IsEmpty());
  EXPECT_EQ(pending.held(), 0U);
  EXPECT_THAT(pending.takeAll(), IsEmpty());
}

TEST_F(PendingAnswersTest, ACompletionIsFreedBeforeTheNextOneRuns) {
  auto captured = std::make_shared<int>();
  const std::weak_ptr<int> observed = captured;
  std::vector<PendingAnswers::Pending> both;
  both.push_back({"/a", StubAnswer::nothing(),
                  [captured](const auto&, const auto&, const auto&) { EXPECT_TRUE(captured); }});
  both.push_back({"/b", StubAnswer::nothing(),
                  [&](const auto&, const auto&, const auto&) { EXPECT_TRUE(observed.expired()); }});
  captured.reset();
  EXPECT_EQ(PendingAnswers::deliver(std::move(both)), 2U);
}

}  // namespace
}  // namespace vellora::testkit
