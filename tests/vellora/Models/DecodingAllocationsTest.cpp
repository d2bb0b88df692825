#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "tests/support/AllocationCounter.h"
#include "vellora/Models/SObjectsResponse.h"
#include "vellora/Models/ThemeResponse.h"

// The most allocations that decoding and encoding may make. A text of up to 15 bytes needs none: it is stored
// inside its `std::string`.

namespace vellora {
namespace {

using tests::AllocationCounter;

constexpr std::size_t count = 200;

std::string listOf(const std::string& entry) {
  std::string list;
  for (std::size_t index = 0; index < count; ++index) list.append(index > 0 ? "," : "").append(entry);
  return '[' + list + ']';
}

Data objectList(const std::string& label) {
  return Data(
      R"({"sobjects":)" +
      listOf(
          R"({"activateable":false,"createable":true,"custom":false,"keyPrefix":"001","label":")" + label +
          R"(","labelPlural":"Accounts","name":"Account","urls":{"describe":"/a/path/that/is/not/read"}})") +
      "}");
}

Data themeList() {
  return Data(
      R"({"themeItems":)" +
      listOf(R"({"name":"Account","colors":[{"color":"FF0000","context":"primary","theme":"light"}],)"
             R"("icons":[{"contentType":"image/png","theme":"light","url":"/a.png","width":16,"height":16},)"
             R"({"contentType":"image/svg+xml","theme":"dark","url":"/b.svg","width":24,"height":24}]})") +
      "}");
}

/// Counts the second of two readings, because a thread keeps its parser's memory from the first one.
template <class T>
std::size_t allocationsOfReading(const Data& text) {
  EXPECT_TRUE(json::decode<T>(text));
  const AllocationCounter counter;
  const auto decoded = json::decode<T>(text);
  const std::size_t allocations = counter.allocations();
  EXPECT_TRUE(decoded);
  return allocations;
}

TEST(DecodingAllocationsTest, AnObjectListTakesMemoryOnceForAllItsTypes) {
  EXPECT_EQ(allocationsOfReading<SObjectsResponse>(objectList("Account")), 1U);
}

TEST(DecodingAllocationsTest, AnObjectListTakesMemoryOnceForEachLongText) {
  EXPECT_EQ(allocationsOfReading<SObjectsResponse>(objectList("a label of more than fifteen bytes")),
            count + 1);
}

TEST(DecodingAllocationsTest, AThemeListTakesMemoryForItsLists) {
  EXPECT_EQ(allocationsOfReading<ThemeResponse>(themeList()), 2 * count + 1);
}

TEST(DecodingAllocationsTest, AListThatIsReadOnceLeavesNoParserBehind) {
  const Data text = objectList("Account");
  EXPECT_TRUE(json::decodeOnce<SObjectsResponse>(text));  // the first text makes things that are never freed
  const auto before = tests::LiveMemory::now().bytes;
  EXPECT_TRUE(json::decodeOnce<SObjectsResponse>(text));
  EXPECT_EQ(tests::LiveMemory::now().bytes, before);
  EXPECT_TRUE(json::decode<SObjectsResponse>(text));
  EXPECT_GT(tests::LiveMemory::now().bytes, before + text.size()) << "what is kept for the next text";
  json::releaseParser();
  EXPECT_EQ(tests::LiveMemory::now().bytes, before);
}

TEST(DecodingAllocationsTest, AThreadKeepsAParserForFourMegabytesAndNotForMore) {
  constexpr std::size_t most = std::size_t{4} << 20U;
  const auto textOf = [](std::size_t size) {
    const std::string list = R"({"sobjects":[]})";
    return Data(std::string(size - list.size(), ' ') + list);
  };
  const auto bytesKeptFor = [](const Data& text) {
    json::releaseParser();
    const auto before = tests::LiveMemory::now().bytes;
    EXPECT_TRUE(json::decode<SObjectsResponse>(text));
    return tests::LiveMemory::now().bytes - before;
  };
  EXPECT_GT(bytesKeptFor(textOf(most)), most);
  EXPECT_EQ(bytesKeptFor(textOf(most + 1)), 0U);
}

TEST(DecodingAllocationsTest, WritingTakesMemoryForTheWriterItsGrowingTextAndItsBytes) {
  const auto types = json::decode<SObjectsResponse>(objectList("Account")).value().sObjects;
  const AllocationCounter counter;
  const auto text = json::encode(types);
  // The writer's text grows by half each time, from 256 bytes to 17,000.
  EXPECT_LE(counter.allocations(), 5U + 12U);
  ASSERT_TRUE(text);
}

}  // namespace
}  // namespace vellora
