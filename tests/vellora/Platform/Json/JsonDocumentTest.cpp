#include "vellora/Platform/Json/JsonDocument.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <iostream>
#include <latch>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "vellora/Platform/Json/Json.h"

namespace vellora::json {
namespace {

std::string_view textOf(const Document& document) {
  std::string_view text;
  return document.root().get(text) ? "no text" : text;
}

TEST(JsonDocumentTest, LeavesTheBytesAsTheyAre) {
  const std::string text = R"(  "a\u00e9"  )";
  const Data data(text);
  Document document;
  ASSERT_FALSE(document.parse(data).has_value());
  EXPECT_EQ(textOf(document), "aé");
  EXPECT_EQ(data.view(), text);
}

TEST(JsonDocumentTest, SharesNothingWithAnotherDocumentOnItsThread) {
  Document first;
  ASSERT_FALSE(first.parse(Data(std::string(R"("first")"))).has_value());
  {
    Document second;
    ASSERT_FALSE(second.parse(Data(std::string(R"("second")"))).has_value());
    EXPECT_EQ(textOf(second), "second");
  }
  EXPECT_EQ(textOf(first), "first");
}

TEST(JsonDocumentTest, ReadsAfterATextThatItRefused) {
  Document document;
  EXPECT_TRUE(document.parse(Data(std::string("[1,"))).has_value());
  ASSERT_FALSE(document.parse(Data(std::string(R"("a")"))).has_value());
  EXPECT_EQ(textOf(document), "a");
}

TEST(JsonDocumentTest, ReadsTextsBelowAndAboveTheSizeUpToWhichAParserIsKept) {
  for (const std::size_t size : {std::size_t{4} << 20U, (std::size_t{4} << 20U) + 1, std::size_t{10}}) {
    const std::string text(size - 2, 'a');
    Document document;
    ASSERT_FALSE(document.parse(Data('"' + text + '"')).has_value());
    EXPECT_EQ(textOf(document), text);
  }
}

TEST(JsonDocumentTest, SettlesTheNumbersOfEachTextThatItReads) {
  const Data texts[] = {Data(std::string("1.0")), Data(std::string("2.0"))};
  Document document;
  for (const Data& text : texts) {
    ASSERT_FALSE(document.parse(text).has_value());
    EXPECT_TRUE(document.root().is_double());
    document.settleNumbers();
    EXPECT_TRUE(document.root().is_int64());
  }
}

std::atomic<bool> hasToldWhyNotRead = false;

TEST(JsonDocumentDeathTest, IsReadOrRefusedWhileTheProcessEnds) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // the process is a fresh one
  const auto exitWhileReading = [] {
    // At the end of the process this runs after the destructors of everything static that is made from here
    // on.
    std::atexit([] { hasToldWhyNotRead.wait(false); });
    std::latch reading(1);
    std::thread([&reading] {
      const Data text(std::string("[1]"));
      while (Document().parse(text) == std::nullopt) {
        releaseParser();
        if (!reading.try_wait()) reading.count_down();
      }
      std::cerr << Document().parse(text)->localizedDescription();
      hasToldWhyNotRead = true;
      hasToldWhyNotRead.notify_all();
    }).detach();
    reading.wait();
    std::exit(0);
  };
  EXPECT_EXIT(exitWhileReading(), testing::ExitedWithCode(0),
              "not valid JSON: it is not read, since the process is ending");
}

}  // namespace
}  // namespace vellora::json
