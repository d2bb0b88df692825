#include "vellora/DataServices/Looked.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "vellora/Platform/Publishers/Promise.h"
#include "vellora/Platform/Values/Error.h"

namespace vellora {
namespace {

struct NotThere {
  [[nodiscard]] static std::string localizedDescription() { return "It is not there."; }
};

/// What a producer yields, and how it ends.
struct Heard {
  std::vector<std::string> values;
  bool isEnded = false;
  bool isFailed = false;
};

AnyCancellable listen(const Publisher<std::string>& producer, Heard& heard) {
  return producer.sink([&heard](const std::string& value) { heard.values.push_back(value); },
                       [&heard](const Completion& completion) {
                         heard.isEnded = true;
                         heard.isFailed = completion.has_value();
                       });
}

TEST(LookedTest, GivesAValueThatIsThere) {
  Looked<std::string> looked(std::string("Account"));
  ASSERT_NE(looked.value(), nullptr);
  EXPECT_EQ(*looked.value(), "Account");
}

TEST(LookedTest, HasNoValueWhereAProducerWillYieldIt) {
  Looked<std::string> looked(Publisher<std::string>::just("Account"));
  EXPECT_EQ(looked.value(), nullptr);
}

TEST(LookedTest, TakesAnAbsentOptionalForAValue) {
  Looked<std::optional<std::string>> looked(std::optional<std::string>{});
  ASSERT_NE(looked.value(), nullptr);
  EXPECT_EQ(*looked.value(), std::nullopt);
}

TEST(LookedTest, MapsAValueWithinTheCall) {
  int calls = 0;
  Looked<std::string> looked(std::string("Account"));
  auto length = std::move(looked).map([&calls](const std::string& name) {
    ++calls;
    return name.size();
  });
  EXPECT_EQ(calls, 1);
  ASSERT_NE(length.value(), nullptr);
  EXPECT_EQ(*length.value(), 7U);
}

TEST(LookedTest, MovesTheValueThroughItsSteps) {
  const auto number = std::make_shared<int>(7);
  Looked<std::shared_ptr<int>> looked(number);
  auto mapped = std::move(looked).map([](std::shared_ptr<int> same) { return same; });
  EXPECT_EQ(*mapped.value(), number);
  EXPECT_EQ(number.use_count(), 2) << "this test's own and the result's";
}

TEST(LookedTest, MapsWhatAProducerYieldsOnceItYields) {
  const Promise<std::string> promise;
  int calls = 0;
  Looked<std::string> looked(Publisher<std::string>::ofPromise(promise));
  auto mapped = std::move(looked).map([&calls](const std::string& name) {
    ++calls;
    return name + "!";
  });
  EXPECT_EQ(mapped.value(), nullptr);
  Heard heard;
  const auto token = listen(std::move(mapped).publisher(), heard);
  EXPECT_EQ(calls, 0);

  promise.succeed("Account");

  EXPECT_EQ(calls, 1);
  EXPECT_EQ(heard.values, std::vector<std::string>{"Account!"});
  EXPECT_TRUE(heard.isEnded);
  EXPECT_FALSE(heard.isFailed);
}

TEST(LookedTest, AValueIsYieldedAsByAProducer) {
  Heard heard;
  const auto token = listen(Looked<std::string>(std::string("Account")).publisher(), heard);
  EXPECT_EQ(heard.values, std::vector<std::string>{"Account"});
  EXPECT_TRUE(heard.isEnded);
  EXPECT_FALSE(heard.isFailed);
}

TEST(LookedTest, PassesAFailureOnWithoutCallingItsSteps) {
  int calls = 0;
  Looked<std::string> looked(Publisher<std::string>::fail(NotThere()));
  Heard heard;
  const auto token = listen(std::move(looked)
                                .map([&calls](const std::string& name) {
                                  ++calls;
                                  return name;
                                })
                                .publisher(),
                            heard);
  EXPECT_EQ(calls, 0);
  EXPECT_TRUE(heard.values.empty());
  EXPECT_TRUE(heard.isFailed);
}

}  // namespace
}  // namespace vellora
