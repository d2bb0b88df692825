#include "vellora/Platform/Values/Remembered.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/TestError.h"

namespace vellora {
namespace {

using tests::TestError;

Data bytes(const std::string& text) {
  return Data(text);
}

class RememberedTest : public testing::Test {
 protected:
  std::shared_ptr<const std::string> valueOf(const Data& data) {
    const auto value = remembered.madeOf(data, [this](const Data& text) -> Result<std::string> {
      ++made;
      if (text.view() == "bad") return Error(TestError{"no value"});
      return "of " + std::string(text.view());
    });
    return value ? value.value() : nullptr;
  }

  const Remembered<std::string> remembered{8};
  int made = 0;
};

TEST_F(RememberedTest, MakesAValueOnceOfTheSameBytes) {
  const Data text = bytes("a");
  const auto value = valueOf(text);
  EXPECT_EQ(*value, "of a");
  EXPECT_EQ(valueOf(text), value);
  EXPECT_EQ(valueOf(bytes("a")), value) << "equal bytes in a buffer of their own";
  EXPECT_EQ(made, 1);
}

TEST_F(RememberedTest, MakesANewValueOfOtherBytes) {
  const auto first = valueOf(bytes("a"));
  EXPECT_EQ(*valueOf(bytes("b")), "of b");
  EXPECT_EQ(*valueOf(bytes("")), "of ");
  EXPECT_EQ(*valueOf(bytes("a")), "of a");
  EXPECT_EQ(*first, "of a") << "what was handed out lives on";
  EXPECT_EQ(made, 4);
}

TEST_F(RememberedTest, DoesNotRememberAFailure) {
  EXPECT_EQ(valueOf(bytes("bad")), nullptr);
  EXPECT_EQ(valueOf(bytes("bad")), nullptr);
  EXPECT_EQ(made, 2);
}

TEST_F(RememberedTest, KeepsNothingAboveItsLimitOfBytes) {
  EXPECT_EQ(*valueOf(bytes("12345678")), "of 12345678");
  EXPECT_EQ(*valueOf(bytes("12345678")), "of 12345678");
  EXPECT_EQ(made, 1);
  std::weak_ptr<const std::string> earlier = valueOf(bytes("12345678"));

  EXPECT_EQ(*valueOf(bytes("123456789")), "of 123456789");
  EXPECT_EQ(*valueOf(bytes("123456789")), "of 123456789");
  EXPECT_EQ(made, 3);
  EXPECT_TRUE(earlier.expired());
}

TEST_F(RememberedTest, GivesEachOfManyThreadsTheValueOfItsOwnBytes) {
  const std::vector<Data> texts{bytes("a"), bytes("b")};
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (std::size_t index = 0; index < 4; ++index) {
    threads.emplace_back([&, index] {
      for (int round = 0; round < 500; ++round) {
        const auto value = remembered.madeOf(texts[index % 2], [](const Data& text) -> Result<std::string> {
          return std::string(text.view());
        });
        if (*value.value() != texts[index % 2].view()) ++wrong;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace vellora
