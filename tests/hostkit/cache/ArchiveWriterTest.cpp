#include "hostkit/cache/ArchiveWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>

#include "tests/hostkit/cache/SampleArchive.h"

namespace vellora::hostkit::tests {
namespace {

using testing::HasSubstr;

TEST(ArchiveWriterTest, TheTextIsJsonThatShowsWhatIsText) {
  const auto text = writtenArchive(sampleArchive()).value();
  EXPECT_THAT(std::string(text.view()),
              testing::StartsWith(R"({"format":"vellora-cache","version":1,"checksum":)"));
  EXPECT_THAT(std::string(text.view()), HasSubstr(R"({"key":"text","data":{"text":"\"ä\\\n"}})"));
  EXPECT_THAT(std::string(text.view()),
              HasSubstr(R"({"meta":{"kind":"two"},"dataKey":"own key","data":{"hex":"00ff220a"}})"));
}

TEST(ArchiveWriterTest, EachEntryIsALineOfItsOwn) {
  const auto text = writtenArchive(sampleArchive()).value();
  EXPECT_EQ(std::count(text.view().begin(), text.view().end(), '\n'), 6);
}

TEST(ArchiveWriterTest, AKeyThatIsNoTextIsWrittenInDigitsUnderTheSecondVersion) {
  const auto text = writtenArchive({.blobs = {{.key = "\xFF", .data = Data("1")}}, .tables = {}}).value();
  EXPECT_THAT(std::string(text.view()), testing::StartsWith(R"({"format":"vellora-cache","version":2,)"));
  EXPECT_THAT(std::string(text.view()), HasSubstr(R"({"key":"","keyHex":"ff","data":{"text":"1"}})"));
}

TEST(ArchiveWriterTest, WhateverIsNoTextTakesTheSecondVersion) {
  using Archive = CacheArchive;
  const std::string bytes = "\xFF";
  const Archive::Row plain{{{"kind", "one"}}, "own key", Data("1")};
  const Archive::Row withMeta{{{"kind", bytes}}, std::nullopt, Data("1")};
  const Archive::Row withKey{{{"kind", "one"}}, bytes, Data("1")};
  for (const Archive::Table& table :
       {Archive::Table{bytes, {plain}}, Archive::Table{"Rows", {plain, withMeta}},
        Archive::Table{"Rows", {withKey, plain}}}) {
    const auto text =
        writtenArchive({.blobs = {}, .tables = {{.key = "Plain", .rows = {plain}}, table}}).value();
    EXPECT_THAT(std::string(text.view()), testing::StartsWith(R"({"format":"vellora-cache","version":2,)"));
  }
}

}  // namespace
}  // namespace vellora::hostkit::tests
