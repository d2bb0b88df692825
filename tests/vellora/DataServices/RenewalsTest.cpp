#include "vellora/DataServices/Renewals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>

namespace vellora {
namespace {

using testing::ElementsAre;

class RenewalsTest : public testing::Test {
 protected:
  /// Keeps `list` as what the fetch of that number has brought, and notes it when it is saved and yielded.
  void keep(Renewals::Number number, const std::string& list) {
    tokens.push_back(renewals
                         ->kept<std::string>(number, list,
                                             [this](const std::string& saving) {
                                               if (const auto hook = std::exchange(whileSaving, nullptr))
                                                 hook();
                                               events.push_back("saved " + saving);
                                             })
                         .sink([this](const std::string& yielded) { events.push_back(yielded); }));
  }

  const std::shared_ptr<Renewals> renewals = std::make_shared<Renewals>();
  std::function<void()> whileSaving;
  std::vector<std::string> events;
  std::vector<AnyCancellable> tokens;
};

TEST_F(RenewalsTest, WhatIsFetchedLaterHasAnotherKey) {
  const auto first = renewals->current();
  const auto second = renewals->begin();
  EXPECT_EQ(second, renewals->current());
  EXPECT_NE(Renewals::key("theme", first), Renewals::key("theme", second));
}

TEST_F(RenewalsTest, AnOlderFetchIsYieldedButNotKeptOnceANewerOneIs) {
  const auto first = renewals->begin();
  keep(first, "old");
  EXPECT_THAT(events, ElementsAre("saved old", "old"));
  const auto second = renewals->begin();
  events.clear();
  keep(first, "old again");
  EXPECT_THAT(events, ElementsAre("saved old again", "old again")) << "nothing newer has come yet";
  events.clear();
  keep(second, "new");
  keep(first, "too old");
  keep(second, "new again");
  EXPECT_THAT(events, ElementsAre("saved new", "new", "too old", "saved new again", "new again"));
}

TEST_F(RenewalsTest, OfTwoThatComeAtOneMomentTheLaterIsSavedBehindTheEarlier) {
  const auto first = renewals->begin();
  const auto second = renewals->begin();
  whileSaving = [&] { keep(second, "new"); };
  keep(first, "old");
  EXPECT_THAT(events, testing::IsSupersetOf({"saved old", "saved new", "old", "new"}));
  EXPECT_EQ(events.at(0), "saved old");
  EXPECT_EQ(events.at(1), "saved new");
}

TEST_F(RenewalsTest, WithoutMemoryToSaveItTheFetchHasFailed) {
  std::optional<Error> error;
  const auto token = renewals->kept<int>(1, 7, [](int) { throw std::bad_alloc(); })
                         .sink([](int) {}, [&](const Completion& end) { error = end; });
  EXPECT_TRUE(error);
  keep(1, "next");
  EXPECT_THAT(events, ElementsAre("saved next", "next"));
}

}  // namespace
}  // namespace vellora
