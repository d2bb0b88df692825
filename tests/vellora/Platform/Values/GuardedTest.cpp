#include "vellora/Platform/Values/Guarded.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

namespace vellora {
namespace {

TEST(GuardedTest, GivesBackWhatWasReplaced) {
  Guarded<int> value(1);
  EXPECT_EQ(value.exchange(2), 1);
  EXPECT_EQ(value.value(), 2);
}

TEST(GuardedTest, ReplacesOnlyWhatIsExpected) {
  Guarded<int> value(1);
  value.replace(7, 2);
  EXPECT_EQ(value.value(), 1);
  value.replace(1, 2);
  EXPECT_EQ(value.value(), 2);
}

TEST(GuardedTest, SeveralThreadsReadAndReplaceIt) {
  Guarded<std::shared_ptr<const int>> value(std::make_shared<const int>(0));
  std::vector<std::thread> threads;
  for (int i = 1; i <= 4; ++i) {
    threads.emplace_back([&value, i] {
      for (int k = 0; k < 1000; ++k) {
        const auto before = value.exchange(std::make_shared<const int>(i));
        EXPECT_LE(*before, 4);
        EXPECT_GE(*value.value(), 1);
      }
    });
  }
  for (auto& thread : threads) thread.join();
}

}  // namespace
}  // namespace vellora
