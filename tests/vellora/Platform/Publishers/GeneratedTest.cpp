#include "vellora/Platform/Publishers/Generated.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace vellora {
namespace {

/// The numbers from one to three, and how many were made.
struct Counted {
  [[nodiscard]] Publisher<int> numbers() {
    return generated<int>([this](const auto& yield) {
      for (int number = 1; number <= 3; ++number) {
        ++made;
        if (!yield(number)) return;
      }
    });
  }

  int made = 0;
};

TEST(GeneratedTest, YieldsEachValueThenEnds) {
  Counted counted;
  std::vector<int> values;
  int ends = 0;
  const auto token = counted.numbers().sink([&](int value) { values.push_back(value); },
                                            [&](const Completion& error) { ends += error ? 10 : 1; });
  EXPECT_EQ(values, (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(ends, 1);
}

TEST(GeneratedTest, MakesNoMoreValuesOnceNobodyListens) {
  Counted counted;
  std::vector<int> values;
  const auto token = counted.numbers().first([](int value) { return value == 2; }).sink([&](int value) {
    values.push_back(value);
  });
  EXPECT_EQ(values, std::vector<int>{2});
  EXPECT_EQ(counted.made, 2);
}

TEST(GeneratedTest, HandsOnTheVeryValueThatWasMade) {
  long handles = 0;
  const auto numbers =
      generated<std::shared_ptr<int>>([](const auto& yield) { yield(std::make_shared<int>(7)); });
  const auto token = numbers.sink([&](const std::shared_ptr<int>& number) { handles = number.use_count(); });
  EXPECT_EQ(handles, 1);
}

TEST(GeneratedTest, YieldsWhatComesBehindOnceTheBodyHasReturned) {
  bool hasReturned = false;
  bool wasStartedBehind = false;
  const auto rest = Publisher<int>::deferred([&] {
    wasStartedBehind = hasReturned;
    return Publisher<int>::sequence({2, 3});
  });
  const auto numbers = generated<int>(
      [&](const auto& yield) {
        yield(1);
        hasReturned = true;
      },
      rest);
  std::vector<int> received;
  int ends = 0;
  const auto token = numbers.sink([&](int value) { received.push_back(value); },
                                  [&](const Completion& error) { ends += error ? 0 : 1; });
  EXPECT_EQ(received, (std::vector{1, 2, 3}));
  EXPECT_TRUE(wasStartedBehind);
  EXPECT_EQ(ends, 1);
}

TEST(GeneratedTest, StartsNothingBehindOnceNobodyListens) {
  int starts = 0;
  const auto rest = Publisher<int>::deferred([&] {
    ++starts;
    return Publisher<int>::just(2);
  });
  const auto numbers = generated<int>([](const auto& yield) { yield(1); }, rest);
  const auto token = numbers.first([](int) { return true; }).sink([](int) {});
  EXPECT_EQ(starts, 0);
}

}  // namespace
}  // namespace vellora
