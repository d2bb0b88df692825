#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/vellora/Models/AllRecords.h"
#include "vellora/Models/CompactLayoutField.h"
#include "vellora/Platform/Json/Json.h"

#ifdef VELLORA_JSON_CODECS
#error "With the codecs' definitions at hand this program would link although the library lacks one."
#endif

namespace vellora {
namespace {

template <class T>
std::string written(const T& value) {
  const auto text = json::encode(value);
  return text ? std::string(text.value().view()) : text.error().localizedDescription();
}

/// What `text` reads as, written again.
template <class T>
std::string writtenAgain(const std::string& text) {
  const auto value = json::decode<T>(Data(text));
  return value ? written(value.value()) : value.error().localizedDescription();
}

/// Expects that `T` reads what it writes: alone, in a list, and in a dictionary by name.
template <class T>
void expectReadsWhatItWrites(const T& value) {
  const std::string alone = written(value);
  const std::string list = "[" + alone + "," + alone + "]";
  const std::string dictionary = R"({"a":)" + alone + R"(,"b":)" + alone + "}";
  EXPECT_EQ(alone.find(R"({")"), 0U) << alone;
  EXPECT_EQ(writtenAgain<T>(alone), alone);
  EXPECT_EQ(written(std::vector<T>{value, value}), list);
  EXPECT_EQ(writtenAgain<std::vector<T>>(list), list);
  EXPECT_EQ(written(std::map<std::string, T>{{"a", value}, {"b", value}}), dictionary);
  EXPECT_EQ((writtenAgain<std::map<std::string, T>>(dictionary)), dictionary);
}

// What is read differs from what is written.
void expectReadsWhatItWrites(const CompactLayoutResults& value) {
  constexpr std::string_view alone = R"({"layouts":[]})";
  EXPECT_EQ(written(value), alone);
  EXPECT_EQ(written(std::vector{value}), R"([{"layouts":[]}])");
  EXPECT_EQ(written(std::map<std::string, CompactLayoutResults>{{"a", value}}), R"({"a":{"layouts":[]}})");
  EXPECT_EQ(writtenAgain<CompactLayoutResults>("{}"), alone);
  EXPECT_EQ(writtenAgain<std::vector<CompactLayoutResults>>("[{}]"), R"([{"layouts":[]}])");
  EXPECT_EQ((writtenAgain<std::map<std::string, CompactLayoutResults>>(R"({"a":{}})")),
            R"({"a":{"layouts":[]}})");
}

template <class T>
class RecordCodecsTest : public testing::Test {};

TYPED_TEST_SUITE(RecordCodecsTest, tests::AllRecords);

TYPED_TEST(RecordCodecsTest, EveryRecordIsReadAndWrittenAloneInAListAndInADictionary) {
  expectReadsWhatItWrites(TypeParam{});
}

TEST(FieldCodecsTest, AFieldIsReadAndWrittenByPointerAndByContentAndWrittenByItself) {
  const CompactLayoutField::Content content{"Name",       "string", "Account Name",       std::nullopt,
                                            std::nullopt, false,    CompactLayoutFields{}};
  const auto field = std::make_shared<CompactLayoutField>(content);
  expectReadsWhatItWrites(content);
  expectReadsWhatItWrites(field);
  EXPECT_EQ(written(*field), written(content));
}

TEST(AnswerCodecsTest, WhatCompletionsReceiveIsWrittenAsItIs) {
  const std::map<std::string, ObjectPresentationInfo> presentations{{"001", {}}};
  const std::optional<std::map<std::string, ObjectLayoutInfo>> layouts{{{"Account", {"Account", {}}}}};
  const std::optional<std::map<std::string, ObjectCompactLayoutInfo>> none;
  EXPECT_EQ(written(presentations), R"({"001":{"typePresentationInfo":{"apiName":"","createable":false}}})");
  EXPECT_EQ(written(layouts), R"({"Account":{"objectType":"Account","searchColumns":[]}})");
  EXPECT_EQ(written(none), "null");
}

}  // namespace
}  // namespace vellora
